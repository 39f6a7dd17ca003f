// BMP files: what the header says, and the profile that its fifth version may hold.
#include "byte_source.h"
#include "format_facts.h"

namespace apps {

FileFacts bmp_facts(const ReadAt &file) {
    constexpr uint64_t header_at = 14;
    constexpr uint32_t least_bytes = 40, fifth_bytes = 124, embedded_profile = 0x4d424544;
    FileFacts found;
    const Bytes header = read_bytes(file, header_at, fifth_bytes);
    if (header.size() < least_bytes || little_endian(&header[0]) < least_bytes)
        return found;
    found.facts.resolution =
        resolution_of_metres(little_endian(&header[24]), little_endian(&header[28]));
    if (header.size() < fifth_bytes || little_endian(&header[0]) < fifth_bytes ||
        little_endian(&header[56]) != embedded_profile)
        return found;
    const uint64_t at = header_at + little_endian(&header[112]);
    const uint64_t bytes = little_endian(&header[116]);
    if (bytes <= most_profile_bytes)
        found.facts.colour_profile = checked_profile(read_bytes(file, at, bytes));
    return found;
}

} // namespace apps
