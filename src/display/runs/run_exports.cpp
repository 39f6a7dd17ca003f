// The exports of display runs.
#include "display/runs/display_run.h"

#include <q32base/display.h>

using namespace q32::display;

namespace {

DisplayRun *run_of(HDISPRUN handle) {
    return reinterpret_cast<DisplayRun *>(handle);
}

} // namespace

int Q32_CALL disp32ShowInit(HDISPRUN *run, HDC dc, int depth, int left, int top, int right,
                            int bottom, HPALETTE palette, int palette_option,
                            int force_background) {
    return disp32ShowInitEx(run, dc, depth, left, top, right, bottom, palette, palette_option,
                            force_background, left, top);
}

int Q32_CALL disp32ShowInitEx(HDISPRUN *run, HDC dc, int depth, int left, int top, int right,
                              int bottom, HPALETTE palette, int palette_option,
                              int force_background, int origin_x, int origin_y) {
    if (run == nullptr)
        return 0;
    *run = 0;
    if (dc == nullptr)
        return 0;
    OwnedRun opened = open_run({dc,
                                depth,
                                {left, top, right, bottom},
                                palette,
                                palette_option,
                                force_background,
                                origin_x,
                                origin_y});
    if (!opened)
        return 0;
    *run = reinterpret_cast<HDISPRUN>(opened.get());
    opened.release()->manage_colours();
    return 1;
}

int Q32_CALL disp32ShowData(HDISPRUN run, const void *image, int first_column, int first_row,
                            int rows, int stride) {
    if (run == 0 || image == nullptr)
        return 0;
    const Picture picture{static_cast<const std::uint8_t *>(image), first_column, stride};
    return run_of(run)->take_rows(picture, first_row, rows);
}

int Q32_CALL disp32ShowEnd(HDISPRUN run) {
    const OwnedRun ended(run_of(run));
    if (!ended)
        return 0;
    ended.get()->draw_held();
    return 1;
}

int Q32_CALL disp32SetAttrib(HDISPRUN run, int attribute, int value) {
    if (run == 0)
        return 0;
    if (attribute == DISP32_DIRECTION)
        return run_of(run)->set_direction(value);
    if (attribute == DISP32_STRIP_ROWS)
        run_of(run)->set_strip_rows(value);
    return 1;
}
