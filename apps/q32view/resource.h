/* Numbers of menu commands, shared by the resource file, the program and its tests. */
#pragma once

#define IDR_MENU 1
#define IDR_KEYS 2
#define IDI_MAIN 3

#define ID_OPEN      100
#define ID_SAVE_VIEW 101
#define ID_EXIT      102
#define ID_COPY      103

/* In the order of Step. */
#define ID_STEP_FIRST 104
#define ID_STEP_LAST  107

#define ID_FIT         110
#define ID_ACTUAL      111
#define ID_ZOOM_IN     112
#define ID_ZOOM_OUT    113
#define ID_TEST_CARD   114
#define ID_FIT_WIDTH   115
#define ID_FULL_SCREEN 116

/* ID_DEVICE_FIRST + DISP32_ value */
#define ID_DEVICE_DETECTED 119
#define ID_DEVICE_FIRST    120
#define ID_DEVICE_LAST     125

/* In the order of the values in main_window_menu.cpp. */
#define ID_GAMMA_FILE  129
#define ID_GAMMA_FIRST 130
#define ID_GAMMA_LAST  134

#define ID_DITHER         140
#define ID_PALETTE_OPTION 141

/* ID_PIXELS_FIRST + ShownFormat value */
#define ID_PIXELS_FIRST 150
#define ID_PIXELS_LAST  154

#define ID_KEYS    160
#define ID_ABOUT   161
#define ID_MESSAGE 162

/* In the order in which they were opened, the latest first. */
#define ID_RECENT_FIRST  170
#define ID_RECENT_LAST   179
#define ID_FORGET_RECENT 180

#define ID_TURN_RIGHT 190
#define ID_TURN_LEFT  191
#define ID_MIRROR     192
#define ID_FLIP       193
