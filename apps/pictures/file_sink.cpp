// What is appended goes to the system in large pieces.
#include "file_sink.h"

namespace apps {

FileSink::FileSink(const std::wstring &native, const std::string &path)
    : path_(path), file_(open_file(native, GENERIC_WRITE, CREATE_ALWAYS)) {
    if (!file_)
        throw creation_failure(path, GetLastError());
}

void FileSink::append(std::span<const uint8_t> bytes) {
    constexpr size_t most_waiting = 1 << 18;
    if (waiting_.size() + bytes.size() > most_waiting)
        flush();
    if (bytes.size() > most_waiting) {
        write_at(written_, bytes);
        written_ += bytes.size();
        return;
    }
    waiting_.insert(waiting_.end(), bytes.begin(), bytes.end());
}

void FileSink::replace(uint64_t at, std::span<const uint8_t> bytes) {
    flush();
    write_at(at, bytes);
}

void FileSink::flush() {
    if (waiting_.empty())
        return;
    write_at(written_, waiting_);
    written_ += waiting_.size();
    waiting_.clear();
}

void FileSink::write_at(uint64_t at, std::span<const uint8_t> bytes) {
    OVERLAPPED place = {};
    place.Offset = static_cast<DWORD>(at);
    place.OffsetHigh = static_cast<DWORD>(at >> 32);
    DWORD written = 0;
    if (!WriteFile(file_.get(), bytes.data(), static_cast<DWORD>(bytes.size()), &written, &place))
        throw writing_failure(path_, GetLastError());
    if (written < bytes.size())
        throw writing_failure(path_, ERROR_DISK_FULL);
}

void FileSink::close() {
    flush();
    file_ = {};
}

} // namespace apps
