// Zoom, scrolling and placing of a picture in a window, in numbers.
#include "apps/q32view/view_state.h"

#include <gtest/gtest.h>

namespace apps::q32view {
namespace {

ViewState view_of(Size picture, Size window) {
    ViewState view;
    view.set_window(window);
    view.set_picture(picture);
    return view;
}

TEST(AtPercent, RoundsAndKeepsAPixel) {
    EXPECT_EQ(at_percent({1620, 1280}, 100), (Size{1620, 1280}));
    EXPECT_EQ(at_percent({1620, 1280}, 33), (Size{535, 422})); // 534.6 and 422.4
    EXPECT_EQ(at_percent({3, 200}, 50), (Size{2, 100}));       // 1.5 goes up
    EXPECT_EQ(at_percent({49, 50}, 1), (Size{1, 1}));          // 0.49 is a pixel all the same
    EXPECT_EQ(at_percent({30000, 30000}, 3200), (Size{960000, 960000}));
}

TEST(Fitted, TakesTheNarrowerSide) {
    EXPECT_EQ(fitted({1620, 1280}, {500, 350}), (Size{443, 350})); // 442.97
    EXPECT_EQ(fitted({1280, 1620}, {350, 500}), (Size{350, 443}));
    EXPECT_EQ(fitted({1000, 10}, {100, 100}), (Size{100, 1}));
    EXPECT_EQ(fitted({30000, 1}, {100, 100}), (Size{100, 1})); // 0.003
    EXPECT_EQ(fitted({1, 30000}, {100, 100}), (Size{1, 100}));
}

TEST(Fitted, NeverEnlarges) {
    EXPECT_EQ(fitted({10, 20}, {500, 350}), (Size{10, 20}));
    EXPECT_EQ(fitted({500, 350}, {500, 350}), (Size{500, 350}));
}

TEST(Fitted, SurvivesAWindowOfNothing) {
    EXPECT_EQ(fitted({10, 20}, {0, 0}), (Size{1, 1}));
}

TEST(ViewState, IsEmptyWithoutAPicture) {
    ViewState view;
    view.set_window({100, 50});
    EXPECT_TRUE(view.shown().is_empty());
    EXPECT_EQ(view.percent(), 0);
    EXPECT_TRUE(view.covered().is_empty());
    EXPECT_EQ(view.scroll_to({10, 10}), (Point{0, 0}));
}

TEST(ViewState, FitsANewPictureAndCentresIt) {
    const ViewState view = view_of({1620, 1280}, {500, 350});
    EXPECT_EQ(view.sizing(), Sizing::window);
    EXPECT_EQ(view.percent(), 27);
    EXPECT_EQ(view.shown(), (Size{443, 350}));
    EXPECT_EQ(view.origin(), (Point{28, 0})); // (500 - 443) / 2
    EXPECT_EQ(view.covered(), (Area{28, 0, 471, 350}));
    EXPECT_EQ(view.most_scroll(), (Point{0, 0}));
}

TEST(ViewState, FitsAgainWhenTheWindowChanges) {
    ViewState view = view_of({1620, 1280}, {500, 350});
    view.set_window({300, 350});
    EXPECT_EQ(view.shown(), (Size{300, 237}));
    EXPECT_EQ(view.origin(), (Point{0, 56})); // (350 - 237) / 2
}

TEST(ViewState, FitsToTheWidth) {
    ViewState view = view_of({1620, 1280}, {500, 350});
    view.fit_width();
    EXPECT_EQ(view.sizing(), Sizing::width);
    EXPECT_EQ(view.shown(), (Size{500, 395})); // 395.06
    EXPECT_EQ(view.percent(), 31);
    EXPECT_EQ(view.most_scroll(), (Point{0, 45}));
    view.scroll_to({0, 45});
    view.set_window({300, 350});
    EXPECT_EQ(view.shown(), (Size{300, 237}));
    EXPECT_EQ(view.origin(), (Point{0, 56}));
    view.zoom_in({0, 0}); // from 19 %
    EXPECT_EQ(view.percent(), 20);
}

TEST(ViewState, WidthNeverEnlarges) {
    ViewState view = view_of({100, 1000}, {500, 350});
    view.fit_width();
    EXPECT_EQ(view.shown(), (Size{100, 1000}));
    view.set_window({0, 0});
    EXPECT_EQ(view.shown(), (Size{1, 10}));
}

// The point (250, 80) of 400 x 200 is in the middle; where it comes to lie is worked out by hand.
TEST(ViewState, TurnsAboutTheMiddleOfTheWindow) {
    const struct {
        int orientation;
        Size size;
        Point middle;
    } turns[] = {{1, {400, 200}, {250, 80}},  {2, {400, 200}, {150, 80}},
                 {3, {400, 200}, {150, 120}}, {4, {400, 200}, {250, 120}},
                 {5, {200, 400}, {80, 250}},  {6, {200, 400}, {120, 250}},
                 {7, {200, 400}, {120, 150}}, {8, {200, 400}, {80, 150}}};
    for (const auto &turn : turns) {
        ViewState view = view_of({400, 200}, {60, 40});
        view.zoom_to(100, {0, 0});
        view.scroll_to({220, 60});
        view.turn(turn.orientation);
        EXPECT_EQ(view.shown(), turn.size);
        EXPECT_EQ(view.scroll() + view.middle(), turn.middle) << turn.orientation;
    }
}

TEST(ViewState, TurnedPicturesStayFitted) {
    ViewState view = view_of({400, 200}, {100, 100});
    EXPECT_EQ(view.shown(), (Size{100, 50}));
    view.turn(6);
    EXPECT_EQ(view.shown(), (Size{50, 100}));
    EXPECT_EQ(view.sizing(), Sizing::window);
    EXPECT_EQ(view.scroll(), (Point{0, 0}));
}

TEST(ViewState, KeepsThePointUnderTheAnchor) {
    ViewState view = view_of({1620, 1280}, {500, 350});
    // Column 222 of 443 and row 175 of 350 lie under (250, 175).
    view.zoom_to(100, {250, 175});
    EXPECT_EQ(view.sizing(), Sizing::percent);
    EXPECT_EQ(view.scroll(), (Point{222 * 1620 / 443 - 250, 175 * 1280 / 350 - 175}));
    EXPECT_EQ(view.scroll(), (Point{561, 465}));
    EXPECT_EQ(view.origin(), (Point{-561, -465}));
    EXPECT_EQ(view.covered(), (Area{0, 0, 500, 350}));

    view.zoom_to(200, {100, 50}); // over pixel (661, 515)
    EXPECT_EQ(view.scroll(), (Point{661 * 2 - 100, 515 * 2 - 50}));
    view.zoom_to(100, {100, 50});
    EXPECT_EQ(view.scroll(), (Point{561, 465}));
}

TEST(ViewState, StopsAtEdgesWhenItZooms) {
    ViewState view = view_of({1000, 1000}, {100, 100});
    view.zoom_to(100, {0, 0});
    EXPECT_EQ(view.scroll(), (Point{0, 0}));
    view.zoom_to(50, {99, 99});
    EXPECT_EQ(view.scroll(), (Point{0, 0})); // -49 would be needed
    view.fit();
    view.zoom_to(100, {99, 99});
    EXPECT_EQ(view.scroll(), (Point{891, 891})); // 990 - 99
    view.zoom_to(25, {0, 0});
    EXPECT_EQ(view.scroll(), (Point{150, 150})); // 222, but 250 - 100 is the end
}

TEST(ViewState, ZoomsBySteps) {
    ViewState view = view_of({1000, 1000}, {453, 453}); // 45 %
    view.zoom_in({0, 0});
    EXPECT_EQ(view.percent(), 50);
    view.zoom_out({0, 0});
    EXPECT_EQ(view.percent(), 33);
    view.fit();
    view.zoom_out({0, 0});
    EXPECT_EQ(view.percent(), 33);
    const int up[] = {50,  67,  75,  90,  100, 110,  125,  150,  175,  200, 250,
                      300, 400, 500, 600, 800, 1200, 1600, 2400, 3200, 3200};
    for (const int percent : up) {
        view.zoom_in({0, 0});
        EXPECT_EQ(view.percent(), percent);
    }
    for (int i = 0; i < 30; ++i)
        view.zoom_out({0, 0});
    EXPECT_EQ(view.percent(), 1);
    EXPECT_EQ(view.shown(), (Size{10, 10}));
}

TEST(ViewState, EnlargesByAnyFactor) {
    ViewState view = view_of({101, 100}, {100, 100});
    view.zoom_to(150, {0, 0});
    EXPECT_EQ(view.percent(), 150);
    EXPECT_EQ(view.shown(), (Size{152, 150})); // 151.5 goes up
    view.zoom_to(299, {0, 0});
    EXPECT_EQ(view.percent(), 299);
    EXPECT_EQ(view.shown(), (Size{302, 299})); // 301.99
    view.zoom_out({0, 0});
    EXPECT_EQ(view.percent(), 250);
}

TEST(ViewState, LimitsTheZoom) {
    ViewState view = view_of({100, 100}, {100, 100});
    view.zoom_to(5000, {0, 0});
    EXPECT_EQ(view.percent(), 3200);
    view.zoom_to(-5, {0, 0});
    EXPECT_EQ(view.percent(), 1);
}

TEST(ViewState, ScrollsToTheEdgesAndNoFurther) {
    ViewState view = view_of({300, 200}, {100, 250});
    view.zoom_to(100, {0, 0});
    EXPECT_EQ(view.most_scroll(), (Point{200, 0}));
    EXPECT_EQ(view.scroll_to({50, 70}), (Point{50, 0}));
    EXPECT_EQ(view.origin(), (Point{-50, 25}));
    EXPECT_EQ(view.covered(), (Area{0, 25, 100, 225}));
    EXPECT_EQ(view.scroll_to({1000, -1000}), (Point{150, 0}));
    EXPECT_EQ(view.scroll(), (Point{200, 0}));
    EXPECT_EQ(view.scroll_to({-1, 0}), (Point{-200, 0}));
}

TEST(ViewState, ALargerWindowTakesThePictureBack) {
    ViewState view = view_of({300, 200}, {100, 100});
    view.zoom_to(100, {0, 0});
    view.scroll_to({200, 100});
    view.set_window({150, 100});
    EXPECT_EQ(view.scroll(), (Point{150, 100}));
    view.set_window({400, 400});
    EXPECT_EQ(view.scroll(), (Point{0, 0}));
    EXPECT_EQ(view.origin(), (Point{50, 100}));
}

TEST(ViewState, LargestPicturesDoNotOverflow) {
    ViewState view = view_of({30000, 30000}, {1000, 1000});
    view.zoom_to(3200, {500, 500});
    EXPECT_EQ(view.shown(), (Size{960000, 960000}));
    EXPECT_EQ(view.scroll(), (Point{479500, 479500}));
    view.scroll_to({959999, 959999});
    EXPECT_EQ(view.covered(), (Area{0, 0, 1000, 1000}));
    EXPECT_EQ(view.scroll(), (Point{959000, 959000}));
}

// The point under the anchor lies 7,680,000,000 pixels from the corner, more than int can say.
TEST(ViewState, ZoomsToTheEdgeOfAPictureThatWasOnePixel) {
    ViewState view = view_of({30000, 30000}, {16000, 1});
    EXPECT_EQ(view.shown(), (Size{1, 1}));
    view.zoom_to(3200, {15999, 0});
    EXPECT_EQ(view.scroll(), (Point{944000, 0}));
    view.fit();
    view.zoom_to(3200, {0, 0});
    EXPECT_EQ(view.scroll(), (Point{0, 0}));
}

} // namespace
} // namespace apps::q32view
