/* Q32BASE for C++: scaling of buffers and of streams; see q32base.hpp. */
#ifndef Q32BASE_CPP_RESAMPLE_HPP
#define Q32BASE_CPP_RESAMPLE_HPP

#include <q32base/cpp/buffers.hpp>

namespace q32 {

/* --- buffers ---------------------------------------------------------------------------------- */

namespace detail {

/* A progress callable behind the library's callback. */
template <class Callable>
struct Watch {
    Callable &callable;
    Caught caught{};

    RESAMPLEPROGRESS record(ProgressRange range) {
        return {range.poll_esc, report, reinterpret_cast<std::uintptr_t>(this), range.start,
                range.end};
    }
    static int __stdcall report(int message, int value, int, std::uintptr_t user_data) {
        auto &watch = *reinterpret_cast<Watch *>(user_data);
        return watch.caught.call([&] { return bool(watch.callable(message, value)); });
    }
};

} // namespace detail

template <Errors errors>
Outcome<errors, Buffer> BufferRef::resample_new(int width, int height, int method,
                                                const RESAMPLEPROGRESS *progress,
                                                bool row_path) const {
    const SIZE size = {width, height};
    HBUF32 handle = 0;
    const bool done = detail::cleared(q32BufferResampleEx, &size, handle_, &handle, progress,
                                      row_path, method) != 0;
    return detail::checked<errors>("q32BufferResampleEx", done, [&] { return Buffer(handle); });
}

template <Errors errors>
Outcome<errors, Buffer> BufferRef::resample(int width, int height, int method,
                                            bool row_path) const {
    return resample_new<errors>(width, height, method, nullptr, row_path);
}

template <Errors errors, class Progress, class>
Outcome<errors, Buffer> BufferRef::resample(int width, int height, int method, Progress &&progress,
                                            ProgressRange range, bool row_path) const {
    detail::Watch<std::remove_reference_t<Progress>> watch{progress};
    const RESAMPLEPROGRESS record = watch.record(range);
    Result<Buffer> scaled = resample_new<nothrow>(width, height, method, &record, row_path);
    watch.caught.rethrow();
    if constexpr (errors == Errors::thrown)
        return std::move(scaled).value();
    else
        return scaled;
}

template <Errors errors, class Progress, class>
Outcome<errors> BufferRef::resample_into(BufferRef destination, int method, Progress &&progress,
                                         ProgressRange range, bool row_path) const {
    detail::Watch<std::remove_reference_t<Progress>> watch{progress};
    const RESAMPLEPROGRESS record = watch.record(range);
    const Result<void> scaled = resample_given<nothrow>(destination, method, &record, row_path);
    watch.caught.rethrow();
    if constexpr (errors == Errors::thrown)
        return scaled.value();
    else
        return scaled;
}

/* --- tables and streams ----------------------------------------------------------------------- */

namespace detail {

struct TablePointers {
    std::int32_t *column_index = nullptr;
    std::int32_t *column_fraction = nullptr;
    std::int32_t *row_index = nullptr;
    std::int32_t *row_fraction = nullptr;
};

class HeldTables {
public:
    const TablePointers &get() const { return tables_; }

protected:
    bool holds() const { return tables_.column_index != nullptr; }
    void give_back() const {
        q32FreeResampleTable(tables_.column_index, tables_.column_fraction, tables_.row_index,
                             tables_.row_fraction);
    }

    TablePointers tables_{};
};

} // namespace detail

/* Position tables, freed by q32FreeResampleTable; get() has the four addresses. */
class [[nodiscard]] PositionTables : public detail::Owner<detail::HeldTables> {
public:
    /* q32InitResampleTable, from one buffer's size to another's */
    template <Errors errors = Errors::thrown>
    static Outcome<errors, PositionTables> make(BufferRef source, BufferRef destination,
                                                int fraction_mode) {
        PositionTables made;
        detail::TablePointers &tables = made.tables_;
        const bool done =
            detail::cleared(q32InitResampleTable, source.get(), destination.get(), fraction_mode,
                            &tables.column_index, &tables.column_fraction, &tables.row_index,
                            &tables.row_fraction) != 0;
        return detail::checked<errors>("q32InitResampleTable", done,
                                       [&] { return std::move(made); });
    }
};

#if !defined(NOGDI) /* there is no BITMAPINFOHEADER then */

namespace detail {

class HeldScaler {
public:
    const VCRESAMPLE &get() const { return record_; }

    /* vcResampleEx: one frame. Rows of both are padded to 4 bytes. */
    template <Errors errors = Errors::thrown>
    Outcome<errors> scale(ConstBytes source, Bytes destination) {
        assert(source.size() >= frame_bytes(header_.biWidth, header_.biHeight));
        assert(destination.size() >= frame_bytes(record_.width, record_.height));
        int done = vcResampleEx(0, source.data(), &header_, destination.data(), record_.width,
                                record_.height, record_.method, &record_);
        if (Q32_HPP_UNLIKELY(!done)) // repeated(), without keeping the arguments for it
            done = again(vcResampleEx, 0, source.data(), &header_, destination.data(),
                         record_.width, record_.height, record_.method, &record_);
        return checked<errors>("vcResampleEx", done);
    }

protected:
    bool holds() const { return record_.column_index != nullptr; }
    void give_back() { vcResampleEnd(&record_); }

    std::size_t frame_bytes(long width, long height) const {
        const auto bits = static_cast<std::size_t>(width) * header_.biBitCount;
        return (bits + 31) / 32 * 4 * static_cast<std::size_t>(height);
    }

    BITMAPINFOHEADER header_{};
    VCRESAMPLE record_{};
};

} // namespace detail

/*
 * The frames of a stream, scaled one like the other: tables made by vcResampleInit and freed by
 * vcResampleEnd. Scalers of several threads are independent.
 */
class [[nodiscard]] StreamScaler : public detail::Owner<detail::HeldScaler> {
public:
    /* Frames of 8, 16 (5-5-5), 24 or 32 bits, from one size to another, by a RESAMPLE_ method. */
    template <Errors errors = Errors::thrown>
    static Outcome<errors, StreamScaler> make(int bits_per_pixel, int from_width, int from_height,
                                              int to_width, int to_height, int method) {
        StreamScaler made;
        made.header_.biSize = sizeof made.header_;
        made.header_.biWidth = from_width;
        made.header_.biHeight = from_height;
        made.header_.biPlanes = 1;
        made.header_.biBitCount = static_cast<WORD>(bits_per_pixel);
        made.record_.width = to_width;
        made.record_.height = to_height;
        made.record_.method = method;
        made.record_.source = &made.header_;
        const bool done = detail::cleared(vcResampleInit, &made.record_) != 0;
        made.record_.source = nullptr; // read by vcResampleInit only; scalers move
        return detail::checked<errors>("vcResampleInit", done, [&] { return std::move(made); });
    }
};

#endif

} // namespace q32

#endif
