// The record that the tests' own q32comm.dll keeps, and its switches. Shared between that DLL and
// the test program: plain data only, since each has a run-time library of its own.
#pragma once

#include <windows.h>

namespace q32::frame {

// One call of c32SetDLLErrInfo, all six arguments.
struct Report {
    bool has_text; // false: the text argument was null
    char text[1024];
    int message, severity, library, module, point;
};

// One call of c32ShowMb.
struct Box {
    char text[1024];
    char title[256];
};

// What c32GetString answers for one number.
struct Text {
    int id;
    bool present; // false: there is no such text
    char text[512];
};

struct Recording {
    static constexpr int most_reports = 512;
    static constexpr int most_boxes = 16;
    static constexpr int most_texts = 64;

    // All calls are counted; the first ones are kept.
    int report_count;
    Report reports[most_reports];
    int box_count;
    Box boxes[most_boxes];

    int text_count;
    Text texts[most_texts];
    bool mmx;
    char processor_name[64];
    // With a separator at its end; empty: the directory cannot be had.
    char temporary_directory[MAX_PATH];
    // Told of every report, where there is one.
    void (*listener)(int message, int severity, int module, int point);

    // Esc counts as pressed from this poll on; 0: never.
    int esc_from_poll;
    int esc_polls;
};

// Exported by the DLL beside the nine functions that Q32BASE imports.
inline constexpr char recording_export[] = "q32_recording";
using RecordingExport = Recording *(*)();

} // namespace q32::frame
