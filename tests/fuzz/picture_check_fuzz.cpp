// The walk through the structure of picture files.
#include "apps/pictures/exceptions.h"
#include "apps/pictures/picture_check.h"
#include "tests/fuzz/system/machine.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size) {
    using namespace q32::fuzz;
    restart_machine();
    machine().files["picture"].content = Input(data, size).rest();
    const apps::Completeness whole = apps::check_completeness(L"picture", "picture");
    check_nothing_is_held();

    // What is cut off stays so when more is missing; the signature has to be there.
    constexpr std::size_t signature_bytes = 8;
    if (whole == apps::Completeness::cut_off && size > signature_bytes + 1) {
        machine().files["picture"].content.resize(size - 1);
        check(apps::check_completeness(L"picture", "picture") == apps::Completeness::cut_off,
              "a file is complete without its last byte only");
    }
    return 0;
}
