/*
 * Picture files, row by row between a buffer and the Windows Imaging Component (WIC), and what the
 * samples draw. WIC has blue first where buffers have red.
 */
#define COBJMACROS
#include <initguid.h>
#include <windows.h>

#include <wincodec.h>

#include "picture.h"
#include "report.h"

#include <stdio.h>
#include <stdlib.h>

#define RELEASE(pointer)                                                                           \
    do {                                                                                           \
        if (pointer)                                                                               \
            IUnknown_Release((IUnknown *)(pointer));                                               \
    } while (0)

/* What the system says of a result, as a report. */
static int report_result(const char *path, const char *doing, HRESULT result) {
    char words[200], text[300];
    DWORD number = HRESULT_FACILITY(result) == FACILITY_WIN32 ? HRESULT_CODE(result) : result;
    DWORD length = FormatMessageA(FORMAT_MESSAGE_FROM_SYSTEM | FORMAT_MESSAGE_IGNORE_INSERTS, NULL,
                                  number, LANG_USER_DEFAULT, words, sizeof words, NULL);
    while (length > 0 && (words[length - 1] <= ' ' || words[length - 1] == '.'))
        words[--length] = 0;
    if (length > 0)
        snprintf(text, sizeof text, "%s: %s", doing, words);
    else
        snprintf(text, sizeof text, "%s: system error %08lx", doing, (unsigned long)result);
    return report(path, text);
}

/* COM stays until the program ends. */
static HRESULT start_wic(IWICImagingFactory **factory) {
    HRESULT result = CoInitializeEx(NULL, COINIT_MULTITHREADED);
    if (SUCCEEDED(result))
        result = CoCreateInstance(&CLSID_WICImagingFactory, NULL, CLSCTX_INPROC_SERVER,
                                  &IID_IWICImagingFactory, (void **)factory);
    return result;
}

/* --- loading --------------------------------------------------------------------------------- */

static HRESULT open_file(IWICImagingFactory *factory, const char *path,
                         IWICFormatConverter **converter) {
    WCHAR name[MAX_PATH];
    IWICBitmapDecoder *decoder = NULL;
    IWICBitmapFrameDecode *frame = NULL;
    HRESULT result = E_INVALIDARG;
    if (MultiByteToWideChar(CP_ACP, 0, path, -1, name, MAX_PATH) &&
        SUCCEEDED(
            result = IWICImagingFactory_CreateDecoderFromFilename(
                factory, name, NULL, GENERIC_READ, WICDecodeMetadataCacheOnDemand, &decoder)) &&
        SUCCEEDED(result = IWICBitmapDecoder_GetFrame(decoder, 0, &frame)) &&
        SUCCEEDED(result = IWICImagingFactory_CreateFormatConverter(factory, converter)))
        result = IWICFormatConverter_Initialize(
            *converter, (IWICBitmapSource *)frame, &GUID_WICPixelFormat24bppBGR,
            WICBitmapDitherTypeNone, NULL, 0, WICBitmapPaletteTypeCustom);
    RELEASE(frame);
    RELEASE(decoder);
    return result;
}

/* Rows into a new buffer. Returns 0 after a report of the library's; *result is WIC's. */
static int read_rows(IWICFormatConverter *source, HBUF32 *picture, HRESULT *result) {
    UINT width, height, row_bytes;
    BYTE *row = NULL;
    WICRect area = {0, 0, 0, 1};
    int done;
    *result = IWICFormatConverter_GetSize(source, &width, &height);
    if (FAILED(*result))
        return 1;
    row_bytes = width * 3;
    area.Width = (INT)width;
    done = buf32Alloc(picture, 24, (int)width, (int)height, BUF32_TILED, NULL) &&
           ((row = malloc(row_bytes)) != NULL || report("a row", "not enough memory"));
    for (; done && SUCCEEDED(*result) && area.Y < (INT)height; ++area.Y) {
        *result = IWICFormatConverter_CopyPixels(source, &area, row_bytes, row_bytes, row);
        RGBToBGR(row, row, (int)width);
        done = buf32MergeMem(*picture, 0, area.Y, row, (int)width, 1);
    }
    free(row);
    return done;
}

/* A field of all hues above a ramp of greys. */
static int draw(HBUF32 *picture) {
    HBUF32 hues = 0, greys = 0;
    int done = buf32Alloc(picture, 24, 384, 256, BUF32_TILED, NULL) &&
               q32CreateHSBBarImage(&hues, BAR_HUE_ACROSS, 384, 208) &&
               q32CreateColorBarImage(&greys, 384, 48, RGB(0, 0, 0), RGB(255, 255, 255), 1, 0) &&
               buf32MergeBuf(hues, 0, 0, 384, 208, *picture, 0, 0) &&
               buf32MergeBuf(greys, 0, 0, 384, 48, *picture, 0, 208);
    buf32Free(hues); /* 0 is no buffer, and harmless */
    buf32Free(greys);
    return done;
}

static int load(HBUF32 *picture, const char *path) {
    IWICImagingFactory *factory = NULL;
    IWICFormatConverter *converter = NULL;
    HRESULT result = start_wic(&factory);
    int done = 1;
    if (SUCCEEDED(result) && SUCCEEDED(result = open_file(factory, path, &converter)))
        done = read_rows(converter, picture, &result);
    RELEASE(converter);
    RELEASE(factory);
    return done && (SUCCEEDED(result) || report_result(path, "cannot be read", result));
}

int picture_load(HBUF32 *picture, const char *path) {
    *picture = 0;
    if (path ? load(picture, path) : draw(picture))
        return 1;
    buf32Free(*picture);
    *picture = 0;
    return 0;
}

/* --- saving ---------------------------------------------------------------------------------- */

static HRESULT write_rows(IWICBitmapFrameEncode *frame, HBUF32 picture, int width, int height) {
    UINT row_bytes = (UINT)width * 3;
    HRESULT result = S_OK;
    BYTE *row = malloc(row_bytes);
    if (!row)
        return E_OUTOFMEMORY;
    for (int y = 0; y < height && SUCCEEDED(result); ++y) {
        if (!buf32GetMem(picture, 0, y, width, 1, row))
            result = E_FAIL;
        RGBToBGR(row, row, width);
        if (SUCCEEDED(result))
            result = IWICBitmapFrameEncode_WritePixels(frame, 1, row_bytes, row_bytes, row);
    }
    free(row);
    return result;
}

static HRESULT encode(IWICImagingFactory *factory, IWICStream *stream, HBUF32 picture) {
    IWICBitmapEncoder *encoder = NULL;
    IWICBitmapFrameEncode *frame = NULL;
    WICPixelFormatGUID format = GUID_WICPixelFormat24bppBGR;
    int width, height;
    HRESULT result = E_INVALIDARG;
    if (buf32GetWHU(picture, &width, &height, NULL) &&
        SUCCEEDED(result = IWICImagingFactory_CreateEncoder(factory, &GUID_ContainerFormatPng, NULL,
                                                            &encoder)) &&
        SUCCEEDED(result = IWICBitmapEncoder_Initialize(encoder, (IStream *)stream,
                                                        WICBitmapEncoderNoCache)) &&
        SUCCEEDED(result = IWICBitmapEncoder_CreateNewFrame(encoder, &frame, NULL)) &&
        SUCCEEDED(result = IWICBitmapFrameEncode_Initialize(frame, NULL)) &&
        SUCCEEDED(result = IWICBitmapFrameEncode_SetSize(frame, (UINT)width, (UINT)height)) &&
        SUCCEEDED(result = IWICBitmapFrameEncode_SetPixelFormat(frame, &format)) &&
        SUCCEEDED(result = write_rows(frame, picture, width, height)) &&
        SUCCEEDED(result = IWICBitmapFrameEncode_Commit(frame)))
        result = IWICBitmapEncoder_Commit(encoder);
    RELEASE(frame);
    RELEASE(encoder);
    return result;
}

int picture_save(HBUF32 picture, const char *path) {
    WCHAR name[MAX_PATH];
    IWICImagingFactory *factory = NULL;
    IWICStream *stream = NULL;
    int opened = 0;
    HRESULT result = start_wic(&factory);
    if (SUCCEEDED(result) && SUCCEEDED(result = IWICImagingFactory_CreateStream(factory, &stream)))
        result = MultiByteToWideChar(CP_ACP, 0, path, -1, name, MAX_PATH)
                     ? IWICStream_InitializeFromFilename(stream, name, GENERIC_WRITE)
                     : E_INVALIDARG;
    if (SUCCEEDED(result)) {
        opened = 1;
        result = encode(factory, stream, picture);
    }
    RELEASE(stream); /* closes the file */
    RELEASE(factory);
    if (SUCCEEDED(result))
        return 1;
    if (opened)
        DeleteFileW(name);
    return report_result(path, "cannot be written", result);
}

/* --- drawing --------------------------------------------------------------------------------- */

/* A one-colour buffer has no pixels, whatever its size: a brush that costs nothing. */
int picture_fill(HBUF32 picture, int x, int y, int width, int height, COLORREF colour) {
    const BYTE rgb[3] = {GetRValue(colour), GetGValue(colour), GetBValue(colour)};
    HBUF32 brush = 0;
    int done = buf32Alloc(&brush, 24, width, height, BUF32_ONE_COLOUR, rgb) &&
               buf32MergeBuf(brush, 0, 0, width, height, picture, x, y);
    buf32Free(brush);
    return done;
}
