/*
 * Q32BASE for C++17 and later: the C interface with owners, spans and two kinds of errors.
 *
 *     #include <q32base.hpp>
 *     #include <cstdio>
 *
 *     int main() try {
 *         std::uint8_t row[640 * 3] = {200, 100, 50};
 *         const q32::Buffer image = q32::Buffer::allocate(16, 640, 480);
 *         const q32::Lock lock = image.lock(BUF32_WRITE);
 *         lock.line(0, BUF32_LINE_WRITE_565, row);
 *         lock.line(0, BUF32_LINE_READ_565, row);
 *         std::printf("%d %d %d\n", row[0], row[1], row[2]); // 207 103 55
 *     } catch (const q32::Error &error) {
 *         std::puts(error.what());
 *     }
 *
 * Nothing here but the C interface: every function names in its comment, or is named like, the C
 * function that it calls, takes its constants (BUF32_WRITE, MERGE_SCREEN), and does what that
 * function's comment in q32base/ says. No pixel is copied or converted that the C call would not
 * copy or convert, and an optimising compiler makes the same code of both. Functions of plain
 * memory and of the process, which own nothing, are called by their C names, or through q32::call
 * where their failures are to be errors. Programs link q32base and q32comm.
 *
 * Ownership. What must be given back has an owner: it is moved, not copied; its destructor gives
 * back; moved from, it holds nothing. get() hands out the handle for C functions, release() lets go
 * of it, reset() gives back early. Owners of locks and the like name a buffer and do not keep it
 * alive: declare them after it, and they go before it. A destructor's failure (a buffer that is
 * still locked cannot be freed) is not thrown: its report stands, as after a C call.
 *
 * Errors. Each function that can fail throws q32::Error; called as f<q32::nothrow>(...) it returns
 * a q32::Result instead, which holds the value or the q32::Report. Both have the numbers of the
 * library's report, which are those of this call and never older ones: calls that may fail without
 * a report either clear the thread's report first, or, where that would be felt, are made a second
 * time after a failure. Without exceptions only f<q32::nothrow>(...) compiles; all files of a
 * program are compiled with exceptions or all without.
 *
 * Callbacks are any callables. An exception does not cross the library: it counts as "stop", is
 * kept, and thrown again where the call returns.
 *
 * Threads. As with the C functions: allocation and freeing one at a time, a buffer and its locks by
 * one thread at a time, the display by the thread that paints.
 *
 * An example of each owner is in docs/cpp.md.
 */
#ifndef Q32BASE_HPP
#define Q32BASE_HPP

#include <q32base/cpp/buffers.hpp>
#include <q32base/cpp/display.hpp>
#include <q32base/cpp/errors.hpp>
#include <q32base/cpp/locks.hpp>
#include <q32base/cpp/owner.hpp>
#include <q32base/cpp/queues.hpp>
#include <q32base/cpp/resample.hpp>
#include <q32base/cpp/values.hpp>

#endif
