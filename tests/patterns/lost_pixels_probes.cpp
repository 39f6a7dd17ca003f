// What is done to buffers that have lost their pixels: every export, and what goes with it.
#include "tests/patterns/lost_pixels.h"

#include <q32base/merge.h>
#include <q32base/resample.h>

namespace q32::test::lost {
namespace {

constexpr size_t most_bytes = size_t(width) * height * 3; // of an image of this size here

void lock_all_modes(Scene &scene) {
    for (int mode : {0, 1, 2, 3, 4, 5, 77}) {
        SCOPED_TRACE(mode);
        void *base = &base;
        const int result = api().buf32Lock(scene.lost, mode, &base);
        expect_no_report();
        EXPECT_EQ(result, 1);
        EXPECT_EQ(base != nullptr, scene.has_pixels);
        if (result == 1 && base != nullptr)
            touch(base, scene.row_bytes());
        EXPECT_EQ(word(scene.lost, field_lock_count), uint32_t(result));
        if (result == 1)
            EXPECT_SUCCESS(api().buf32Unlock(scene.lost));
        if (result == 1 && api().buf32Lock(scene.lost, mode, nullptr) == 1)
            EXPECT_SUCCESS(api().buf32CellUnlock(scene.lost, 0));
    }
}

void lock_cells(Scene &scene) {
    const auto cells = int(word(scene.lost, field_cell_count));
    for (uint32_t mode : {1u, 2u, 3u, 0u})
        for (int i = 0; i < cells; ++i) {
            set_word(scene.lost, field_access_mode, mode);
            void *address = &address;
            BUF32CELL cell{};
            const int result = api().buf32CellLock(scene.lost, i, &address, &cell);
            expect_no_report();
            EXPECT_EQ(result, 1);
            EXPECT_EQ(address != nullptr, scene.has_pixels);
            EXPECT_EQ(cell.index, i);
            if (address != nullptr)
                touch(address, size_t(cell.bytes));
            if (result == 1)
                EXPECT_SUCCESS(api().buf32CellUnlock(scene.lost, i));
            EXPECT_EQ(api().buf32CellLock(scene.lost, cells, &address, &cell), 0);
            forget_reports();
        }
    EXPECT_EQ(word(scene.lost, field_lock_count), 0u);
}

void rows_in_and_out(Scene &scene) {
    const FencedBlock row(width * 8); // enough for any mode
    std::memset(row.data(), 0x5A, row.size());
    const FencedBlock stored(scene.row_bytes());
    using LineSpan = int(HBUF32, void *, int, int, int, int);
    if (api().buf32Lock(scene.lost, BUF32_READ, nullptr) != 1)
        return;
    for (int mode : {1, 2}) {
        scene.expect_nothing(api().buf32Line(scene.lost, height - 1, mode, stored.data()));
        expect_no_report();
    }
    for (int mode = 0; mode <= 10; ++mode) {
        api().buf32Line(scene.lost, 5, mode, row.data());
        if (mode >= 1 && mode <= 6)
            entry_of<LineSpan>(scene.lost, entry_line_span)(scene.lost, row.data(), mode, 8, 100,
                                                            height - 1);
    }
    EXPECT_EQ(word(scene.lost, field_lock_count), 1u);
    EXPECT_SUCCESS(api().buf32Unlock(scene.lost));
}

void addresses(Scene &scene) {
    using PointAddress = void *(HBUF32, int, int);
    if (scene.has_pixels) {
        if (void *const address = api().buf32PointAddr(scene.lost, width - 1, height - 1))
            touch(address, 3);
        entry_of<PointAddress>(scene.lost, entry_point_address)(scene.lost, 3, 3);
        forget_reports();
        return;
    }
    const bool linear = (scene.start.type & 0x1E) != 0;
    EXPECT_REPORT(api().buf32PointAddr(scene.lost, 0, 0), 3200, 1, 4, linear ? 184 : 182);
    EXPECT_REPORT(api().buf32PointAddr(scene.lost, width, height), 3200, 1, 4, linear ? 184 : 182);
    EXPECT_EQ(entry_of<PointAddress>(scene.lost, entry_point_address)(scene.lost, 3, 3), nullptr);
    forget_reports();
    void *cell = &cell, *pixel = &pixel;
    int x = 0, y = 0;
    EXPECT_EQ(api().buf32PointAddEx(scene.lost, 140, 139, &cell, &pixel, &x, &y), -1);
    expect_no_report();
    EXPECT_EQ(word(scene.lost, field_lock_count), 0u);
}

void rectangles_of_memory(Scene &scene) {
    const FencedBlock memory(block_bytes(scene.shown.geometry.bits, {0, 0, 60, 50}));
    for (const Area &area : {Area{0, 0, 60, 50}, {-30, -20, 60, 50}, {120, 110, 60, 50}}) {
        SCOPED_TRACE(text_of(area));
        scene.expect_nothing(api().buf32GetMem(scene.lost, area.x, area.y, 60, 50, memory.data()));
        expect_no_report();
        scene.expect_nothing(
            api().buf32GetMemWithBC(scene.lost, area.x, area.y, 60, 50, memory.data(), colour));
        expect_no_report();
    }
    // What meets nothing of the buffer is background as ever.
    EXPECT_SUCCESS(api().buf32GetMemWithBC(scene.lost, width, 0, 60, 50, memory.data(), colour));
    for (size_t i = 0; i < memory.size(); ++i)
        ASSERT_EQ(memory.data()[i], colour[i % scene.shown.geometry.unit_bytes()]) << i;
    for (const Area &area : {Area{0, 0, 60, 50}, {-30, -20, 60, 50}, {120, 110, 60, 50}}) {
        scene.expect_nothing(
            api().buf32MergeMem(scene.lost, area.x, area.y, memory.data(), 60, 50));
        expect_no_report();
    }
}

void get_from(Scene &scene) {
    for (const Area &area : {Area{3, 4, 60, 50}, {0, 0, width, height}}) {
        const bool whole = area.width == width;
        SCOPED_TRACE(text_of(area));
        HBUF32 made = 0;
        const int result =
            api().buf32GetBuf(scene.lost, area.x, area.y, area.width, area.height, &made);
        EXPECT_EQ(made != 0, result == 1);
        expect_no_report();
        if (!whole)
            scene.expect_nothing(result);
        if (made != 0) {
            uint8_t pixel[3];
            scene.expect_nothing(api().buf32GetMem(made, 0, 0, 1, 1, pixel));
            expect_no_report();
            EXPECT_SUCCESS(api().buf32Free(made));
        }
    }
    if (scene.has_pixels)
        return;
    Buffer other(scene.bits, 90, 80);
    Picture picture = picture_beside(other);
    picture.image = fill(other, scene.random);
    HBUF32 handle = other;
    EXPECT_SILENT_FAILURE(api().buf32GetBuf(scene.lost, 0, 0, width, height, &handle));
    EXPECT_SILENT_FAILURE(api().buf32GetBuf(scene.lost, -5, 100, 90, 80, &handle));
    EXPECT_SUCCESS(api().buf32GetBuf(scene.lost, width, 0, 90, 80, &handle)); // nothing to copy
    EXPECT_EQ(handle, HBUF32(other));
    expect_image(picture);
    // One colour stays one: it is not written to.
    Buffer one_colour(scene.bits, 90, 80, BUF32_ONE_COLOUR, colour);
    handle = one_colour;
    EXPECT_SILENT_FAILURE(api().buf32GetBuf(scene.lost, 0, 0, width, height, &handle));
    EXPECT_EQ(word(one_colour, field_type), BUF32_ONE_COLOUR);
}

void get_part_onto(Scene &scene) {
    HBUF32 handle = scene.lost;
    scene.expect_nothing(api().buf32GetBuf(scene.good, 3, 4, 60, 50, &handle));
    expect_no_report();
    EXPECT_EQ(handle, scene.lost);
    scene.expect_good();
}

// The whole is a duplicate: the pixels are the other one's, and there are pixels again.
void get_whole_onto(Scene &scene) {
    HBUF32 handle = scene.lost;
    EXPECT_SUCCESS(api().buf32GetBuf(scene.good, 0, 0, width, height, &handle));
    EXPECT_EQ(handle, scene.lost);
    scene.expect_good();
    if (scene.start.type == BUF32_ONE_COLOUR)
        return; // keeps a byte of its colour
    Picture copy = scene.shown;
    copy.buffer = scene.lost;
    expect_read_everywhere(copy);
}

void merge_from_and_onto(Scene &scene) {
    if (!scene.has_pixels) {
        EXPECT_SILENT_FAILURE(api().buf32MergeBuf(scene.lost, 3, 4, 60, 50, scene.good, 30, 40));
        EXPECT_SILENT_FAILURE(
            api().buf32MergeBuf(scene.lost, 0, 0, width, height, scene.good, 0, 0));
        EXPECT_SUCCESS(api().buf32MergeBuf(scene.lost, width, 0, 60, 50, scene.good, 0, 0));
        EXPECT_SILENT_FAILURE(api().buf32MergeBuf(scene.lost, 0, 0, 9, 9, scene.lost, 20, 20));
        scene.expect_good();
    }
    scene.expect_nothing(api().buf32MergeBuf(scene.good, 3, 4, 60, 50, scene.lost, 30, 40));
    scene.expect_nothing(api().buf32MergeBuf(scene.good, 0, 0, width, height, scene.lost, 9, 9));
    expect_no_report();
    scene.expect_good();
}

// Duplicates of nothing show nothing, and what is filled has pixels whoever else has none.
template <bool source_first>
void duplicate_new(Scene &scene) {
    HBUF32 made = 0, second = 0;
    EXPECT_SUCCESS(api().buf32DupBuf(scene.lost, &made));
    EXPECT_SUCCESS(api().buf32DupBuf(made, &second));
    uint8_t memory[3 * 3] = {};
    for (HBUF32 duplicate : {made, second}) {
        scene.expect_nothing(api().buf32GetMem(duplicate, 1, 1, 3, 1, memory));
        expect_no_report();
    }
    Picture filled(source_first ? scene.lost : made, scene.shown.geometry);
    EXPECT_EQ(api().buf32FillOneColor(filled.buffer, colour), 1);
    expect_no_report();
    filled.paint(colour);
    expect_read_everywhere(filled);
    api().buf32MergeMem(second, 0, 0, memory, 3, 1);
    void *base = nullptr;
    for (HBUF32 duplicate : {second, made, scene.lost})
        if (api().buf32Lock(duplicate, BUF32_WRITE, &base) == 1) {
            if (base != nullptr)
                touch(base, scene.row_bytes());
            EXPECT_SUCCESS(api().buf32Unlock(duplicate));
        }
    forget_reports();
    EXPECT_SUCCESS(api().buf32Free(source_first ? made : second));
    EXPECT_SUCCESS(api().buf32Free(source_first ? second : made));
}

// Its pixels are given up for none: the destination reads nothing from then on.
void duplicate_over_good(Scene &scene) {
    HBUF32 handle = scene.good;
    const int result = api().buf32DupBuf(scene.lost, &handle);
    EXPECT_EQ(handle, scene.good);
    expect_no_report();
    if (result == 0) {
        scene.expect_good();
        return;
    }
    uint8_t pixel[3];
    scene.expect_nothing(api().buf32GetMem(scene.good, 0, 0, 1, 1, pixel));
    api().buf32MergeMem(scene.good, 0, 0, pixel, 1, 1);
    forget_reports();
    EXPECT_SUCCESS(api().buf32FillOneColor(scene.good, colour));
    Picture filled(scene.good, scene.shown.geometry);
    filled.paint(colour);
    expect_read_everywhere(filled);
}

template <bool good_goes_first>
void duplicate_good(Scene &scene) {
    HBUF32 handle = scene.lost;
    EXPECT_SUCCESS(api().buf32DupBuf(scene.good, &handle));
    EXPECT_EQ(handle, scene.lost);
    if (scene.start.type == BUF32_ONE_COLOUR)
        return; // keeps a byte of its colour
    Picture copy = scene.shown;
    copy.buffer = scene.lost;
    expect_read_everywhere(copy);
    const HBUF32 written = good_goes_first ? scene.good : scene.lost;
    const Bytes white(60 * 50 * 3, 0xFF);
    EXPECT_SUCCESS(api().buf32MergeMem(written, 20, 90, white.data(), 60, 50));
    Picture &changed = good_goes_first ? scene.shown : copy;
    changed.merge({20, 90, 60, 50}, white.data());
    if (is_special(scene.start.type)) { // is an ordinary one now
        expect_image(changed);
    } else {
        expect_read_everywhere(changed);
    }
    expect_read_everywhere(good_goes_first ? copy : scene.shown);
}

void duplicate_into_others(Scene &scene) {
    HBUF32 handle = scene.lost;
    if (!is_special(scene.start.type))
        EXPECT_SILENT_FAILURE(api().buf32DupBuf(scene.lost, &handle)); // is the source itself
    EXPECT_EQ(handle, scene.lost);
    const Buffer small(scene.bits, 5, 5), deep(32, width, height);
    for (HBUF32 other : {HBUF32(small), HBUF32(deep)}) {
        handle = other;
        EXPECT_EQ(api().buf32DupBuf(scene.lost, &handle), 0);
        EXPECT_EQ(frame::reports().size(), 1u);
        forget_reports();
        EXPECT_EQ(handle, other);
        handle = scene.lost;
        EXPECT_EQ(api().buf32DupBuf(other, &handle), 0);
        EXPECT_EQ(frame::reports().size(), 1u);
        forget_reports();
        EXPECT_EQ(handle, scene.lost);
    }
    if (!scene.has_pixels)
        expect_no_image(Picture(scene.lost, scene.shown.geometry));
}

void fill_again(Scene &scene) {
    Picture picture(scene.lost, scene.shown.geometry);
    EXPECT_SUCCESS(api().buf32FillOneColor(scene.lost, colour));
    picture.paint(colour);
    expect_read_everywhere(picture);
}

void fill_with_pattern_again(Scene &scene) {
    Picture picture(scene.lost, scene.shown.geometry);
    const Pattern pattern(7, 5, scene.bits, scene.random);
    const BUF32PATTERN descriptor = pattern.descriptor();
    EXPECT_SUCCESS(api().buf32FillPattern(scene.lost, &descriptor));
    picture.paint(pattern);
    expect_read_everywhere(picture);
}

// As often as one likes.
void fail_again(Scene &scene) {
    for (int round = 0; round < 2; ++round)
        for (const Loss &loss : losses_of(scene.start)) {
            SCOPED_TRACE(loss.name);
            const size_t others =
                word(scene.good, field_file) != 0 || word(scene.good, field_storage) == 0
                    ? 0
                    : word(scene.good, field_reserved_bytes);
            EXPECT_TRUE(loss.take(scene.lost));
            EXPECT_EQ(word(scene.lost, field_storage), 0u);
            EXPECT_EQ(word(scene.lost, field_type), scene.start.type);
            if (!is_special(scene.start.type)) {
                EXPECT_EQ(memory_in_use(), others);
            }
        }
}

void change_height(Scene &scene) {
    const bool can =
        scene.start.type == BUF32_LINEAR_MEMORY || scene.start.type == BUF32_LINEAR_SHRINK;
    const int reservations = frame::Census::now().reservations;
    const size_t memory = memory_in_use();
    for (int rows : {height - 1, 20, 20, 1, 100, height, height + 1, 0}) {
        api().buf32ReAlloc(scene.lost, rows);
        if (!can)
            expect_report(3200, 0, 4, 11);
        forget_reports();
        EXPECT_EQ(word(scene.lost, field_storage), 0u); // rows do not bring pixels
        EXPECT_EQ(frame::Census::now().reservations, reservations);
        EXPECT_EQ(memory_in_use(), memory);
    }
    BUF32INFO info;
    EXPECT_SUCCESS(api().buf32GetInfo(scene.lost, &info));
    EXPECT_EQ(info.image_bytes, uint32_t(info.height) * uint32_t(scene.row_bytes()));
    EXPECT_SUCCESS(api().buf32FillOneColor(scene.lost, colour));
    Picture picture(scene.lost, Geometry(width, info.height, scene.bits, scene.start.type));
    picture.paint(colour);
    expect_image(picture);
}

void ask_about(Scene &scene) {
    BUF32INFO info{};
    EXPECT_SUCCESS(api().buf32GetInfo(scene.lost, &info));
    EXPECT_EQ(info.type, scene.start.type);
    EXPECT_EQ(info.lock_count, 0);
    int w = 0, h = 0, unit = 0;
    EXPECT_SUCCESS(api().buf32GetWHU(scene.lost, &w, &h, &unit));
    EXPECT_EQ(w, width);
    EXPECT_EQ(h, height);
    EXPECT_EQ(unit, scene.bits / 8);
    EXPECT_EQ(api().buf32CountBuf(nullptr), 2);
    for (const auto &[kind, bytes] :
         {std::pair{1, info.cell_bytes}, {2, size_t(scene.row_bytes())}}) {
        void *block = nullptr;
        size_t got = 0;
        EXPECT_SUCCESS(api().buf32GetMemSpace(scene.lost, kind, 2, 0, &block, &got));
        EXPECT_EQ(got, bytes);
        frame::forget_block(block);
        GlobalFree(block);
    }
}

void treat_as_bitmap(Scene &scene) {
    EXPECT_SILENT_FAILURE(api().buf32DIBToDIBBuf(scene.lost));
    EXPECT_SILENT_FAILURE(api().buf32DIBBufToDIB(scene.lost) != nullptr);
    HGLOBAL bitmap = nullptr;
    EXPECT_REPORT(api().buf32DIBBufFree(scene.lost, &bitmap), 3200, 0, 4, 16);
}

void merge_images(Scene &scene) {
    const RECT all{0, 0, width, height}, part{10, 10, 140, 135};
    const FencedBlock image(most_bytes);
    std::memset(image.data(), 0, image.size());
    const Buffer mask(8, width, height);
    for (int mode : {MERGE_NORMAL, MERGE_COLOR, MERGE_ADD})
        for (HBUF32 by : {HBUF32(0), HBUF32(mask)}) {
            api().i32MergeBufToBuf(scene.lost, 0, 0, by, scene.good, &all, mode, 20);
            api().i32MergeBufToBuf(scene.lost, -3, 4, by, scene.lost, &part, mode, 20);
            api().i32MergeBufToRam(image.data(), 0, 0, width, height, scene.bits / 8, by,
                                   scene.lost, &all, mode, 20);
            api().i32MergeRamToBuf(scene.lost, 0, 0, nullptr, image.data(), &all, width, height,
                                   mode, 20);
            if (!scene.has_pixels) {
                api().i32MergeBufToBuf(scene.good, 0, 0, by, scene.lost, &all, mode, 20);
                scene.expect_good();
            }
        }
    forget_reports();
    for (HBUF32 buffer : {scene.lost, scene.good, HBUF32(mask)})
        EXPECT_EQ(word(buffer, field_lock_count), 0u);
}

void resample(Scene &scene) {
    const SIZE sizes[] = {{70, 60}, {width, height}, {300, 200}};
    for (const SIZE &size : sizes)
        for (int rows : {0, 1})
            for (int method : {RESAMPLE_NEAREST, RESAMPLE_BILINEAR, RESAMPLE_BICUBIC}) {
                HBUF32 made = 0;
                const int result =
                    api().q32BufferResampleEx(&size, scene.lost, &made, nullptr, rows, method);
                forget_reports();
                if (!scene.has_pixels) {
                    EXPECT_EQ(result, 0);
                    EXPECT_EQ(made, 0u);
                }
                if (made != 0)
                    EXPECT_SUCCESS(api().buf32Free(made));
            }
    EXPECT_EQ(word(scene.lost, field_lock_count), 0u);
    const SIZE its{width, height};
    HBUF32 onto = scene.lost;
    api().q32BufferResampleEx(&its, scene.good, &onto, nullptr, 1, 2);
    api().q32BufferResampleEx(&its, scene.good, &onto, nullptr, 0, 2);
    EXPECT_EQ(onto, scene.lost);
    forget_reports();
    EXPECT_EQ(word(scene.lost, field_lock_count), 0u);
    EXPECT_EQ(word(scene.good, field_lock_count), 0u);
    scene.expect_good();
    api().q32FreeBiCubicTable(); // which would stay
}

void free_while_locked(Scene &scene) {
    if (scene.start.type == BUF32_PATTERN)
        return; // loses its pattern, which is another test's
    if (api().buf32Lock(scene.lost, BUF32_READ, nullptr) != 1)
        return;
    EXPECT_REPORT(api().buf32Free(scene.lost), 5804, 1, 4, 12);
    EXPECT_SUCCESS(api().buf32Unlock(scene.lost));
}

constexpr Probe all_probes[] = {
    {"whole locks", lock_all_modes},
    {"cell locks", lock_cells},
    {"rows", rows_in_and_out},
    {"addresses", addresses},
    {"rectangles of memory", rectangles_of_memory},
    {"GetBuf from it", get_from},
    {"GetBuf of a part onto it", get_part_onto},
    {"GetBuf of the whole onto it", get_whole_onto},
    {"MergeBuf", merge_from_and_onto},
    {"new duplicates, filling the source", duplicate_new<true>},
    {"new duplicates, filling one", duplicate_new<false>},
    {"duplicate over another", duplicate_over_good},
    {"duplicate of another, written", duplicate_good<false>},
    {"duplicate of another that is written", duplicate_good<true>},
    {"duplicate into what differs", duplicate_into_others},
    {"one colour", fill_again},
    {"pattern", fill_with_pattern_again},
    {"failing again", fail_again},
    {"another height", change_height},
    {"questions", ask_about},
    {"as a bitmap", treat_as_bitmap},
    {"merging images", merge_images},
    {"resampling", resample},
    {"free while locked", free_while_locked},
};

} // namespace

std::span<const Probe> probes() {
    return all_probes;
}

} // namespace q32::test::lost
