// The stream's methods, each one call of the system.
#include "output_stream.h"

namespace apps {
namespace {

HRESULT result(BOOL succeeded) {
    return succeeded ? S_OK : HRESULT_FROM_WIN32(GetLastError());
}

} // namespace

OutputStream::OutputStream(const std::wstring &path)
    : file_(open_file(path, GENERIC_READ | GENERIC_WRITE, CREATE_ALWAYS)) {
    if (!file_)
        error_ = GetLastError();
}

HRESULT OutputStream::remember(HRESULT outcome) {
    if (FAILED(outcome) && error_ == 0)
        error_ = static_cast<DWORD>(HRESULT_CODE(outcome));
    return outcome;
}

HRESULT OutputStream::QueryInterface(REFIID id, void **object) {
    if (!IsEqualGUID(id, IID_IUnknown) && !IsEqualGUID(id, IID_ISequentialStream) &&
        !IsEqualGUID(id, IID_IStream)) {
        *object = nullptr;
        return E_NOINTERFACE;
    }
    AddRef();
    *object = static_cast<IStream *>(this);
    return S_OK;
}

ULONG OutputStream::AddRef() {
    return static_cast<ULONG>(InterlockedIncrement(&references_));
}

ULONG OutputStream::Release() {
    const LONG left = InterlockedDecrement(&references_);
    if (left == 0)
        delete this;
    return static_cast<ULONG>(left);
}

HRESULT OutputStream::Read(void *data, ULONG size, ULONG *done) {
    DWORD read = 0;
    const HRESULT outcome = result(ReadFile(file_.get(), data, size, &read, nullptr));
    if (done != nullptr)
        *done = read;
    return SUCCEEDED(outcome) && read < size ? S_FALSE : outcome;
}

HRESULT OutputStream::Write(const void *data, ULONG size, ULONG *done) {
    DWORD written = 0;
    HRESULT outcome = result(WriteFile(file_.get(), data, size, &written, nullptr));
    if (SUCCEEDED(outcome) && written < size)
        outcome = HRESULT_FROM_WIN32(ERROR_DISK_FULL);
    if (done != nullptr)
        *done = written;
    return remember(outcome);
}

HRESULT OutputStream::Seek(LARGE_INTEGER distance, DWORD origin, ULARGE_INTEGER *position) {
    // STREAM_SEEK_SET, _CUR and _END have the numbers of FILE_BEGIN, _CURRENT and _END.
    LARGE_INTEGER reached = {};
    const HRESULT outcome = result(SetFilePointerEx(file_.get(), distance, &reached, origin));
    if (position != nullptr)
        position->QuadPart = static_cast<ULONGLONG>(reached.QuadPart);
    return outcome;
}

HRESULT OutputStream::SetSize(ULARGE_INTEGER size) {
    LARGE_INTEGER here = {}, target;
    target.QuadPart = static_cast<LONGLONG>(size.QuadPart);
    const BOOL resized = SetFilePointerEx(file_.get(), {}, &here, FILE_CURRENT) &&
                         SetFilePointerEx(file_.get(), target, nullptr, FILE_BEGIN) &&
                         SetEndOfFile(file_.get()) &&
                         SetFilePointerEx(file_.get(), here, nullptr, FILE_BEGIN);
    return remember(result(resized));
}

HRESULT OutputStream::Stat(STATSTG *status, DWORD) {
    LARGE_INTEGER size = {};
    const HRESULT outcome = result(GetFileSizeEx(file_.get(), &size));
    *status = {};
    status->type = STGTY_STREAM;
    status->cbSize.QuadPart = static_cast<ULONGLONG>(size.QuadPart);
    status->grfMode = STGM_READWRITE;
    return outcome;
}

HRESULT OutputStream::Clone(IStream **clone) {
    *clone = nullptr;
    return E_NOTIMPL;
}

} // namespace apps
