// The imaging factory, and the words for what WIC and the system refuse.
#include <initguid.h>

#include "wic.h"

#include "edition.h"
#include "exceptions.h"
#include "late_function.h"
#include "text.h"

#include <cstdio>
#include <iterator>

namespace apps {
namespace {

struct Words {
    HRESULT result;
    const char *text;
};

constexpr Words wic_words[] = {
    {E_FAIL, "the system's codec gives no reason"},
    {E_OUTOFMEMORY, "not enough memory"},
    {WINCODEC_ERR_UNKNOWNIMAGEFORMAT, "the format is not known"},
    {WINCODEC_ERR_COMPONENTNOTFOUND, "the system has no codec for it"},
    {WINCODEC_ERR_BADIMAGE, "the picture is damaged"},
    {WINCODEC_ERR_BADHEADER, "the picture's header is damaged"},
    {WINCODEC_ERR_BADSTREAMDATA, "the picture's data is damaged"},
    {WINCODEC_ERR_FRAMEMISSING, "it holds no picture"},
    {WINCODEC_ERR_STREAMREAD, "the file cannot be read"},
    {WINCODEC_ERR_STREAMWRITE, "the file cannot be written"},
    {WINCODEC_ERR_UNSUPPORTEDPIXELFORMAT, "its kind of pixels is not supported"},
    {WINCODEC_ERR_UNSUPPORTEDOPERATION, "the system's codec does not do this"},
    {WINCODEC_ERR_IMAGESIZEOUTOFRANGE, "the picture is too large"},
    {WINCODEC_ERR_VALUEOUTOFRANGE, "a value is out of range"},
    {HRESULT_FROM_WIN32(ERROR_ARITHMETIC_OVERFLOW), "the picture is too large"},
};

std::string wic_text(HRESULT result) {
    for (const Words &words : wic_words)
        if (words.result == result)
            return words.text;
    if (HRESULT_FACILITY(result) == FACILITY_WIN32)
        return system_words(static_cast<DWORD>(HRESULT_CODE(result)));
    char text[60];
    std::snprintf(text, sizeof text, "the system's codec reports %08lx",
                  static_cast<unsigned long>(result));
    return text;
}

// COM and what it brings along take longer to load than all else that a start needs.
constexpr wchar_t ole32[] = L"ole32.dll";

class Apartment {
public:
    Apartment() {
        const auto initialize = late_function<decltype(CoInitializeEx)>(ole32, "CoInitializeEx");
        check_wic(initialize(nullptr, COINIT_MULTITHREADED), "COM", "cannot be started");
    }
    ~Apartment() { late_function<decltype(CoUninitialize)>(ole32, "CoUninitialize")(); }
    Apartment(const Apartment &) = delete;
    Apartment &operator=(const Apartment &) = delete;
};

ComPtr<IWICImagingFactory> make_factory() {
    const auto create = late_function<decltype(CoCreateInstance)>(ole32, "CoCreateInstance");
    ComPtr<IWICImagingFactory> factory;
    check_wic(create(CLSID_WICImagingFactory, nullptr, CLSCTX_INPROC_SERVER, IID_IWICImagingFactory,
                     reinterpret_cast<void **>(factory.out())),
              "the Windows Imaging Component", "cannot be started");
    return factory;
}

} // namespace

IWICImagingFactory *wic_factory() {
    static const Apartment apartment;
    static const ComPtr<IWICImagingFactory> factory = make_factory();
    return factory.get();
}

void check_wic(HRESULT result, const std::string &subject, const std::string &doing) {
    if (FAILED(result))
        throw Failure(subject, doing + ": " + wic_text(result),
                      result == E_OUTOFMEMORY ? room_remedy : "");
}

std::string system_words(DWORD error) {
    switch (error) {
    case ERROR_FILE_NOT_FOUND:
        return "no such file";
    case ERROR_PATH_NOT_FOUND:
    case ERROR_BAD_NETPATH:
        return "no such directory";
    case ERROR_INVALID_NAME:
        return "this cannot be a file's name";
    case ERROR_ACCESS_DENIED:
    case ERROR_WRITE_PROTECT:
        return "no permission";
    case ERROR_SHARING_VIOLATION:
        return "another program is using it";
    case ERROR_DISK_FULL:
    case ERROR_HANDLE_DISK_FULL:
        return "the disk is full";
    default:
        break;
    }
    wchar_t text[200];
    DWORD length =
        FormatMessageW(FORMAT_MESSAGE_FROM_SYSTEM | FORMAT_MESSAGE_IGNORE_INSERTS, nullptr, error,
                       0, text, static_cast<DWORD>(std::size(text)), nullptr);
    while (length > 0 && (text[length - 1] <= L' ' || text[length - 1] == L'.'))
        --length;
    return to_utf8({text, length}) + " (system error " + std::to_string(error) + ")";
}

} // namespace apps
