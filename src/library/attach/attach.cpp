// The order of start and stop. Every step is another file's; this one only decides the sequence.
#include "library/attach/attach.h"

#include "buffer/buffer_manager.h"
#include "display/display.h"
#include "library/process/process.h"
#include "merge/merge.h"
#include "resample/resample.h"
#include "rows/rows.h"

namespace q32 {
namespace {

void choose_kernels(InstructionSet level) {
    chosen_kernels<rows::RowKernels> = &rows::row_kernels(level);
    chosen_kernels<rows::ScalingKernels> = &rows::scaling_kernels(level);
    chosen_kernels<merge::BlendKernels> = &merge::blend_kernels(level);
    chosen_kernels<merge::EffectKernels> = &merge::effect_kernels(level);
    chosen_kernels<merge::ColourKernels> = &merge::colour_kernels(level);
    chosen_kernels<resample::ResampleKernels> = &resample::resample_kernels(level);
    chosen_kernels<display::ShowKernels> = &display::show_kernels(level);
}

// Defaults, settings file (the screen's settings lie there too), master record file.
bool set_up_buffers() {
    buffer::set_defaults();
    buffer::read_settings_file();
    display::read_screen_settings();
    return buffer::examine_master_file();
}

} // namespace

bool attach(HMODULE module) {
    keep_module_handle(module);
    choose_kernels(detect_instruction_set());
    if (!display_is_usable())
        return false;
    if (!display::set_up() || !set_up_buffers()) {
        display::clean_up();
        display::release_colour_management();
        return false;
    }
    create_library_lock();
    ask_common_library_for_processor();
    return true;
}

void detach() {
    display::clean_up();
    resample::free_coefficient_table();
    resample::free_kept_tables();
    delete_library_lock();
    buffer::free_all();
    buffer::close_record_file();
    display::release_colour_management();
}

} // namespace q32
