// The display laboratory: one picture on all displays that the library knows, side by side, and a
// detail of each in squares.
#include "apps/pictures/display_bitmap.h"
#include "apps/pictures/exceptions.h"
#include "apps/pictures/library_report.h"
#include "apps/pictures/numbers.h"
#include "apps/q32view/dialogs.h"
#include "apps/q32view/painter.h"
#include "apps/q32view/show_settings.h"
#include "apps/q32view/view_state.h"
#include "built_in_pictures.h"
#include "display_words.h"
#include "drawing.h"
#include "frames.h"
#include "geometry/system_rect.h"
#include "makers.h"

#include <q32base/bars.h>
#include <q32base/display.h>
#include <q32base/resample.h>

#include <algorithm>
#include <array>
#include <chrono>
#include <cstdio>
#include <optional>
#include <utility>
#include <vector>

namespace apps::q32view {
namespace {

constexpr Size built_in_size = {480, 320};
constexpr int columns = 3;
constexpr int gap = 12;
constexpr int space_above_detail = 4;
constexpr int enlargement = 8;
constexpr int picture_percent = 60; // of the height of picture and detail together

// From the fewest colours to the most.
constexpr std::array shown_types = {DISP32_MONOCHROME, DISP32_EIGHT_COLOURS, DISP32_SIXTEEN_COLOURS,
                                    DISP32_PALETTE,    DISP32_HIGH_COLOUR,   DISP32_TRUE_COLOUR};

// In the order of the control's choices.
constexpr std::array pixel_formats = {ShownFormat::rgb, ShownFormat::rgb555, ShownFormat::grey,
                                      ShownFormat::bits};

std::string name_of(int type) {
    std::string name(display_types[static_cast<size_t>(type)].name);
    std::replace(name.begin(), name.end(), '-', ' ');
    return name;
}

// A display's part of the window.
struct Panel {
    Area caption, picture, detail;
};

Panel panel_of(const Area &room) {
    const Frame frame = frame_of(room, caption_height());
    Panel panel = {frame.caption, frame.picture, frame.picture};
    panel.picture.bottom = panel.picture.top + frame.picture.height() * picture_percent / 100;
    panel.detail.top = panel.picture.bottom + on_this_screen(space_above_detail);
    return panel;
}

// A line that is seen on any picture, around an area. What is drawn later stays under it.
void draw_mark(HDC dc, const Area &area) {
    const RECT outer = q32::as_rect(area);
    FrameRect(dc, &outer, static_cast<HBRUSH>(GetStockObject(WHITE_BRUSH)));
    const RECT inner = {outer.left + 1, outer.top + 1, outer.right - 1, outer.bottom - 1};
    FrameRect(dc, &inner, static_cast<HBRUSH>(GetStockObject(BLACK_BRUSH)));
    const int left = area.left, top = area.top, right = area.right, bottom = area.bottom;
    keep_drawn(dc, {left, top, right, top + 2});
    keep_drawn(dc, {left, bottom - 2, right, bottom});
    keep_drawn(dc, {left, top, left + 2, bottom});
    keep_drawn(dc, {right - 2, top, right, bottom});
}

class DisplayLaboratory final : public Laboratory {
public:
    using Laboratory::Laboratory;

private:
    std::vector<Control> make_controls() override {
        return {
            choice("pixels", "Pixels that are shown", {"24", "16", "grey", "1"}, 0),
            number("gamma", "Gamma, in hundredths", 50, 400, no_gamma, ""),
            toggle("dither", "Dither high colour", true),
            toggle("levels-16", "Sixteen greys", false),
            number("across", "Detail across", 0, 100, 50, " %"),
            number("down", "Detail down", 0, 100, 50, " %"),
            toggle("mark", "Mark the detail", true),
            button("open", "Open picture..."),
        };
    }
    void take_pictures(const std::vector<std::string> &paths) override;
    void handle_change(const std::string &name) override;
    void handle_pointer(Point at) override;
    void draw(HDC dc, Size room) override;

    void ask_and_take();
    void prepare(Size room);
    void see(HBUF32 source);
    void point_by_controls();
    ShowSettings settings_for(int type) const;
    Panel panel(size_t index) const;
    Area detail() const;
    void draw_detail(HDC dc, const Area &room, const Picture &seen) const;
    void explain_shown();

    std::optional<Picture> picture_;
    ScaledPicture scaled_;
    Size room_;                 // for which all below was made
    Size size_;                 // of the picture as it is shown
    std::vector<Picture> seen_; // in the order of shown_types; empty: to be made
    std::array<FittedPicture, shown_types.size()> views_;
    Point middle_; // of the detail, in the picture as it is shown
    double microseconds_ = 0;
};

void DisplayLaboratory::take_pictures(const std::vector<std::string> &paths) {
    if (paths.size() > 1)
        throw UsageError(paths[1] + ": the display laboratory takes one picture");
    picture_ =
        paths.empty() ? hue_field(built_in_size, BAR_HUE_ACROSS) : load_picture(paths[0], status());
}

// The greys that are asked for concern pixels of 8 bits only, on displays with so few.
ShowSettings DisplayLaboratory::settings_for(int type) const {
    const ShownFormat pixels = pixel_formats[static_cast<size_t>(value("pixels"))];
    return {.device_type = type,
            .gamma = value("gamma"),
            .high_colour_dither = value("dither") != 0,
            .palette_option = value("levels-16") != 0 && pixels == ShownFormat::grey,
            .pixels = pixels};
}

Panel DisplayLaboratory::panel(size_t index) const {
    return panel_of(grid_of(area_of({}, room_), columns,
                            static_cast<int>(shown_types.size()) / columns,
                            on_this_screen(gap))[index]);
}

// The picture in the size that the room allows, and what users of the displays see of it.
void DisplayLaboratory::prepare(Size room) {
    room_ = room;
    const Size size = fitted(picture_->size, panel(0).picture.size());
    if (size != size_)
        seen_.clear();
    if (!seen_.empty())
        return;
    scaled_.prepare(*picture_, size, status());
    HBUF32 source = 0; // a picture that is not enlarged is in one piece
    scaled_.for_each_piece(area_of({}, size),
                           [&](const ScaledPicture::Piece &piece) { source = piece.buffer; });
    if (std::exchange(size_, size) != size)
        point_by_controls();
    see(source);
}

void DisplayLaboratory::see(HBUF32 source) {
    using Clock = std::chrono::steady_clock;
    for (FittedPicture &view : views_)
        view.forget();
    std::vector<Picture> seen;
    microseconds_ = 0;
    for (const int type : shown_types) {
        const ShowSettings settings = settings_for(type);
        const ActingOn acting(settings);
        const Clock::time_point start = Clock::now();
        Buffer buffer = seen_on(type, source, size_, settings);
        microseconds_ += std::chrono::duration<double, std::micro>(Clock::now() - start).count();
        seen.push_back(
            {.buffer = std::move(buffer), .size = size_, .path = {}, .name = name_of(type)});
    }
    seen_ = std::move(seen);
}

void DisplayLaboratory::point_by_controls() {
    middle_ = {size_.width * value("across") / 100, size_.height * value("down") / 100};
}

void DisplayLaboratory::ask_and_take() {
    const std::string path = ask_for_picture(window());
    if (path.empty())
        return;
    Picture picture = load_picture(path, status());
    scaled_.forget();
    picture_ = std::move(picture);
}

void DisplayLaboratory::handle_change(const std::string &name) {
    if (name == "open")
        ask_and_take();
    if (name == "across" || name == "down")
        point_by_controls();
    else if (name != "mark")
        seen_.clear();
    repaint();
}

// The detail follows the pointer over whichever display.
void DisplayLaboratory::handle_pointer(Point at) {
    for (const FittedPicture &view : views_) {
        if (seen_.empty() || !contains(view.shown(), area_of(at, {1, 1})))
            continue;
        middle_ = at - view.shown().corner();
        set_value("across", middle_.x * 100 / size_.width);
        set_value("down", middle_.y * 100 / size_.height);
        repaint();
    }
}

Area DisplayLaboratory::detail() const {
    const Size room = panel(0).detail.size();
    return around(middle_, {room.width / enlargement, room.height / enlargement}, size_);
}

void DisplayLaboratory::draw(HDC dc, Size room) {
    if (!picture_ || panel_of(area_of({}, room)).picture.is_empty())
        return;
    prepare(room);
    for (size_t i = 0; i < shown_types.size(); ++i) {
        const Panel place = panel(i);
        const int bits = display_types[static_cast<size_t>(shown_types[i])].bits;
        draw_caption(dc, place.caption,
                     seen_[i].name + ", " + counted(static_cast<uint64_t>(bits), "bit"));
        draw_detail(dc, place.detail, seen_[i]);
        if (value("mark") != 0)
            draw_mark(dc, moved(detail(), centred(size_, place.picture).corner()));
        views_[i].draw(dc, place.picture, seen_[i], status());
    }
    explain_shown();
}

void DisplayLaboratory::draw_detail(HDC dc, const Area &room, const Picture &seen) const {
    const Area part = detail();
    if (part.is_empty())
        return;
    HBUF32 cut = 0;
    if (!buf32GetBuf(seen.buffer.get(), part.left, part.top, part.width(), part.height(), &cut))
        throw library_failure(seen.name, "a detail cannot be read");
    const Buffer source(cut);
    const Size size = {part.width() * enlargement, part.height() * enlargement};
    const SIZE wanted = {size.width, size.height};
    HBUF32 made = 0;
    if (!q32BufferResampleEx(&wanted, cut, &made, nullptr, 1, RESAMPLE_NEAREST))
        throw library_failure(seen.name, "a detail cannot be enlarged");
    const Buffer squares(made);
    const Area shown = centred(size, room);
    paint(dc, shown, {.buffer = made, .opacity = 0, .place = {}, .matrix = {}}, applied_settings());
    keep_drawn(dc, shown);
}

void DisplayLaboratory::explain_shown() {
    char time[80];
    std::snprintf(time, sizeof time, "\nShown on all six in %.0f microseconds.", microseconds_);
    explain(displays_in_words(value("gamma"), value("dither") != 0, detail()) + time);
}

} // namespace

std::unique_ptr<Laboratory> make_display_laboratory(std::string title) {
    return std::make_unique<DisplayLaboratory>(std::move(title));
}

} // namespace apps::q32view
