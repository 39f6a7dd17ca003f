// A file that encoders write.
#pragma once

#include "files.h"
#include "row_encoder.h"

#include <string>
#include <vector>

namespace apps {

class FileSink final : public ByteSink {
public:
    // Creates the file; path: how messages call it. Throws Failure, as all functions here.
    FileSink(const std::wstring &native, const std::string &path);

    void append(std::span<const uint8_t> bytes) override;
    // May also lie behind what was appended.
    void replace(uint64_t at, std::span<const uint8_t> bytes) override;
    void close();

private:
    void flush();
    void write_at(uint64_t at, std::span<const uint8_t> bytes);

    std::string path_;
    OpenFile file_;
    std::vector<uint8_t> waiting_;
    uint64_t written_ = 0; // of what was appended
};

} // namespace apps
