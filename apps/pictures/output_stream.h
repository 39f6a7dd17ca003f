// A file as a stream for WIC's encoders, which remembers the first write that failed: some encoders
// do not tell.
#pragma once

#include "files.h"

#include <windows.h>

#include <objidl.h>

#include <string>

namespace apps {

// COM's interfaces have no destructors: a stream is deleted by its own Release only.
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wnon-virtual-dtor"
class OutputStream final : public IStream {
public:
    // Creates the file; see error().
    explicit OutputStream(const std::wstring &path);
    OutputStream(const OutputStream &) = delete;
    OutputStream &operator=(const OutputStream &) = delete;

    DWORD error() const { return error_; } // of the system; 0: all went well

    HRESULT STDMETHODCALLTYPE QueryInterface(REFIID id, void **object) override;
    ULONG STDMETHODCALLTYPE AddRef() override;
    ULONG STDMETHODCALLTYPE Release() override;
    HRESULT STDMETHODCALLTYPE Read(void *data, ULONG size, ULONG *done) override;
    HRESULT STDMETHODCALLTYPE Write(const void *data, ULONG size, ULONG *done) override;
    HRESULT STDMETHODCALLTYPE Seek(LARGE_INTEGER distance, DWORD origin,
                                   ULARGE_INTEGER *position) override;
    HRESULT STDMETHODCALLTYPE SetSize(ULARGE_INTEGER size) override;
    HRESULT STDMETHODCALLTYPE Stat(STATSTG *status, DWORD flags) override;
    HRESULT STDMETHODCALLTYPE Commit(DWORD) override { return S_OK; }

    // What no encoder needs.
    HRESULT STDMETHODCALLTYPE CopyTo(IStream *, ULARGE_INTEGER, ULARGE_INTEGER *,
                                     ULARGE_INTEGER *) override {
        return E_NOTIMPL;
    }
    HRESULT STDMETHODCALLTYPE Revert() override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE LockRegion(ULARGE_INTEGER, ULARGE_INTEGER, DWORD) override {
        return E_NOTIMPL;
    }
    HRESULT STDMETHODCALLTYPE UnlockRegion(ULARGE_INTEGER, ULARGE_INTEGER, DWORD) override {
        return E_NOTIMPL;
    }
    HRESULT STDMETHODCALLTYPE Clone(IStream **clone) override;

private:
    ~OutputStream() = default; // by the last Release
    HRESULT remember(HRESULT outcome);

    OpenFile file_;
    DWORD error_ = 0;
    LONG references_ = 1;
};
#pragma GCC diagnostic pop

} // namespace apps
