// What the start and stop of the library need of the buffers.
#pragma once

namespace q32::buffer {

// Limits, switches, counters and swap directories as they are before the settings file is read.
void set_defaults();

// Swap directories and limits from the settings file.
void read_settings_file();

// Deletes the swap files of processes that are gone; makes the master record file when there is
// none or an invalid one. False fails the start.
bool examine_master_file();

// Unlocks and frees every live buffer.
void free_all();

// Closes and deletes the process's record file and clears its slot in the master record file.
void close_record_file();

} // namespace q32::buffer
