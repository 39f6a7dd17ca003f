// The kernels that were chosen at attach.
#include "display/display.h"

namespace q32::display {
namespace {

const ShowKernels *chosen;

} // namespace

void choose_kernels(InstructionSet level) {
    chosen = &show_kernels(level);
}

const ShowKernels &kernels() {
    return *chosen;
}

} // namespace q32::display
