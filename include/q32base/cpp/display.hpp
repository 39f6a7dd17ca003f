/* Q32BASE for C++: palettes and display runs; see q32base.hpp. */
#ifndef Q32BASE_CPP_DISPLAY_HPP
#define Q32BASE_CPP_DISPLAY_HPP

#include <q32base/cpp/errors.hpp>
#include <q32base/cpp/owner.hpp>
#include <q32base/cpp/values.hpp>
#include <q32base/display.h>

namespace q32 {

#if !defined(NOGDI)

/* --- palettes --------------------------------------------------------------------------------- */

namespace detail {

class HeldPalette {
public:
    HeldPalette() = default;
    explicit HeldPalette(HPALETTE palette) : palette_(palette) {}

    HPALETTE get() const { return palette_; }

protected:
    bool holds() const { return palette_ != nullptr; }
    void give_back() const { DeleteObject(palette_); }

private:
    HPALETTE palette_ = nullptr;
};

} // namespace detail

/* A palette, deleted by DeleteObject: no device context may have it selected any more. */
class [[nodiscard]] Palette : public detail::Owner<detail::HeldPalette> {
public:
    Palette() = default;
    /* Of a handle that is to be deleted. */
    explicit Palette(HPALETTE handle) : Owner(detail::HeldPalette(handle)) {}

    /* disp32CreateGrayPalette */
    template <Errors errors = Errors::thrown>
    static Outcome<errors, Palette> grey(int levels, bool with_gamma) {
        return made<errors>("disp32CreateGrayPalette", disp32CreateGrayPalette, nullptr, levels,
                            with_gamma);
    }
    /* disp32CreateColorPalette, a DISP32_CUBE_ mode */
    template <Errors errors = Errors::thrown>
    static Outcome<errors, Palette> colour(int mode, int entries, bool with_gamma) {
        return made<errors>("disp32CreateColorPalette", disp32CreateColorPalette, nullptr, mode,
                            entries, with_gamma);
    }
    /* disp32PalDuplicate */
    template <Errors errors = Errors::thrown>
    static Outcome<errors, Palette> copy_of(HPALETTE palette) {
        return made<errors>("disp32PalDuplicate", disp32PalDuplicate, palette);
    }
    /* disp32GammaColorPalette */
    template <Errors errors = Errors::thrown>
    static Outcome<errors, Palette> gamma_copy_of(HPALETTE palette) {
        return made<errors>("disp32GammaColorPalette", disp32GammaColorPalette, palette, nullptr);
    }

private:
    template <Errors errors, class Function, class... Arguments>
    static Outcome<errors, Palette> made(const char *name, Function *function,
                                         Arguments... arguments) {
        const HPALETTE palette = detail::cleared(function, arguments...);
        return detail::checked<errors>(name, palette != nullptr, [&] { return Palette(palette); });
    }
};

#endif

/* --- runs ------------------------------------------------------------------------------------- */

/* How pixels of 8 bits are shown (disp32ShowInit): through a palette, which must live as long. */
struct ShowOptions {
    HPALETTE palette = nullptr;
    int palette_option = 0;
    bool force_background = false;
};

namespace detail {

class HeldRun {
public:
    HDISPRUN get() const { return run_; }

    /* disp32ShowData: rows of an image whose row k begins at image + k x stride */
    template <Errors errors = Errors::thrown>
    Outcome<errors> show(const void *image, int first_column, int first_row, int rows,
                         int stride) const {
        return silent<errors>("disp32ShowData",
                              disp32ShowData(run_, image, first_column, first_row, rows, stride));
    }
    /* disp32SetAttrib: DISP32_DIRECTION or DISP32_STRIP_ROWS, before the first row */
    template <Errors errors = Errors::thrown>
    Outcome<errors> set_attribute(int attribute, int value) const {
        return silent<errors>("disp32SetAttrib", disp32SetAttrib(run_, attribute, value));
    }

protected:
    bool holds() const { return run_ != 0; }
    void give_back() const { disp32ShowEnd(run_); }

    HDISPRUN run_ = 0;
};

} // namespace detail

/*
 * A picture on its way to a rectangle of a device context. disp32ShowEnd, which draws what is still
 * held, comes with the destructor or with reset(); it tells no failure. The context must live as
 * long; runs are for the thread that paints.
 */
class [[nodiscard]] DisplayRun : public detail::Owner<detail::HeldRun> {
public:
    DisplayRun() = default;
    /* Of a run that is to be ended. */
    explicit DisplayRun(HDISPRUN run) { run_ = run; }

    /* disp32ShowInit: pixels of 24, 16, 8 or 1 bits */
    template <Errors errors = Errors::thrown>
    static Outcome<errors, DisplayRun> open(HDC dc, int depth, Rect area,
                                            ShowOptions options = {}) {
        HDISPRUN run = 0;
        return detail::silent<errors>("disp32ShowInit",
                                      disp32ShowInit(&run, dc, depth, area.x, area.y,
                                                     area.x + area.width, area.y + area.height,
                                                     options.palette, options.palette_option,
                                                     options.force_background),
                                      [&] {
                                          Q32_HPP_ASSUME(run != 0);
                                          return DisplayRun(run);
                                      });
    }
    /* disp32ShowInitEx: dither matrices begin at (origin_x, origin_y) */
    template <Errors errors = Errors::thrown>
    static Outcome<errors, DisplayRun> open_at(HDC dc, int depth, Rect area, int origin_x,
                                               int origin_y, ShowOptions options = {}) {
        HDISPRUN run = 0;
        return detail::silent<errors>(
            "disp32ShowInitEx",
            disp32ShowInitEx(&run, dc, depth, area.x, area.y, area.x + area.width,
                             area.y + area.height, options.palette, options.palette_option,
                             options.force_background, origin_x, origin_y),
            [&] {
                Q32_HPP_ASSUME(run != 0);
                return DisplayRun(run);
            });
    }
};

} // namespace q32

#endif
