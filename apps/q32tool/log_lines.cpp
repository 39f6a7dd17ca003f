// Times are shown as the clock showed them where the log was made: so does whoever tells us of it.
#include "log_lines.h"

#include "apps/pictures/numbers.h"
#include "apps/pictures/text.h"

#include <q32base/types.h>
#include <windows.h>

#include <algorithm>
#include <cinttypes>
#include <cstdio>

namespace apps::q32tool {
namespace {

template <typename... Values>
std::string formatted(const char *format, Values... values) {
    char text[128];
    std::snprintf(text, sizeof text, format, values...);
    return text;
}

// Whatever a damaged log holds, a line of the table stays one.
std::string in_one_line(const char *in_system_code_page) {
    wchar_t wide[256] = {};
    MultiByteToWideChar(CP_ACP, 0, in_system_code_page, -1, wide, 255);
    for (wchar_t &character : wide)
        if (character != L'\0' && (character < L' ' || character == 0x7F))
            character = L' ';
    return to_utf8(wide);
}

// --- times ---------------------------------------------------------------------------------------

SYSTEMTIME there(const Q32LOGHEADER &header, uint64_t time) {
    constexpr int64_t ticks_per_minute = 600'000'000;
    const uint64_t local = time + static_cast<uint64_t>(header.minutes_off_utc * ticks_per_minute);
    const FILETIME file_time = {static_cast<DWORD>(local), static_cast<DWORD>(local >> 32)};
    SYSTEMTIME parts = {};
    FileTimeToSystemTime(&file_time, &parts);
    return parts;
}

std::string date(const Q32LOGHEADER &header, uint64_t time) {
    const SYSTEMTIME parts = there(header, time);
    return formatted("%04d-%02d-%02d", parts.wYear, parts.wMonth, parts.wDay);
}

std::string clock_time(const Q32LOGHEADER &header, uint64_t time) {
    const SYSTEMTIME parts = there(header, time);
    return formatted("%02d:%02d:%02d.%03d", parts.wHour, parts.wMinute, parts.wSecond,
                     parts.wMilliseconds);
}

std::string offset(int32_t minutes) {
    const int32_t size = minutes < 0 ? -(minutes % 6000) : minutes % 6000;
    return formatted("UTC%c%02d:%02d", minutes < 0 ? '-' : '+', size / 60, size % 60);
}

// --- reports -------------------------------------------------------------------------------------

std::string sentence(const Q32LOGENTRY &entry) {
    if (entry.text[0] != '\0')
        return in_one_line(entry.text);
    if (entry.library != Q32_LIBRARY_NUMBER)
        return "a report of library " + std::to_string(entry.library);
    const FailureNumbers numbers = {entry.message, entry.severity, entry.module, entry.point};
    for (const Explanation &failure : explanations())
        if (failure.numbers == numbers)
            return std::string(failure.what);
    return "not known to this q32tool";
}

std::string line(const Q32LOGHEADER &header, const Q32LOGENTRY &entry) {
    const std::string numbers =
        in_order({entry.message, entry.severity, entry.module, entry.point});
    return formatted("%8" PRIu32 "  %-12s  %6" PRIu32 "  %-17s  ", entry.number,
                     clock_time(header, entry.time).c_str(), entry.thread, numbers.c_str()) +
           sentence(entry) + "\n";
}

// --- the end -------------------------------------------------------------------------------------

std::string exception_name(uint32_t code) {
    switch (code) {
    case 0xC0000005:
        return "access violation";
    case 0xC0000006:
        return "a page of memory could not be read from the disk";
    case 0xC000001D:
        return "illegal instruction";
    case 0xC0000094:
        return "whole number divided by zero";
    case 0xC0000096:
        return "privileged instruction";
    case 0xC00000FD:
        return "stack overflow";
    case 0xC0000374:
        return "damaged heap";
    case 0xC0000409:
        return "the program ended itself at a failed check";
    case 0xE06D7363:
        return "a C++ exception that nobody caught";
    }
    return "exception";
}

std::string access(const Q32LOGFAULT &fault) {
    constexpr uint32_t reading = 0, writing = 1, executing = 8;
    const char *const doing = fault.access == reading     ? "reading"
                              : fault.access == writing   ? "writing"
                              : fault.access == executing ? "executing"
                                                          : nullptr;
    return doing == nullptr ? "" : formatted(", %s 0x%08" PRIX64, doing, fault.data_address);
}

// As the debugger's tools want it: the module and how far into it.
std::string place(const Q32LOGFAULT &fault) {
    const std::string address = formatted("0x%08" PRIX64, fault.address);
    if (fault.module_base == 0)
        return address + ", which lies in no module";
    const std::string module = fault.module[0] == '\0'
                                   ? formatted("the module at 0x%08" PRIX64, fault.module_base)
                                   : in_one_line(fault.module);
    return module + formatted(" + 0x%" PRIX64, fault.address - fault.module_base) + " (" + address +
           ")";
}

std::string in_words(const Q32LOGHEADER &header, const Q32LOGFAULT &fault) {
    return exception_name(fault.code) + formatted(" (0x%08" PRIX32 ")", fault.code) + " in " +
           place(fault) + access(fault) + ", thread " + std::to_string(fault.thread) + ", " +
           clock_time(header, fault.time);
}

std::string end(const Q32LOGHEADER &header) {
    const Q32LOGFAULT &fault = header.fault;
    if (fault.state == Q32LOG_FAULT_FATAL)
        return "The program crashed: " + in_words(header, fault) + "\n";
    const std::string last = fault.state == Q32LOG_NO_FAULT
                                 ? ""
                                 : "The last exception: " + in_words(header, fault) + "\n";
    if (header.ended != 0)
        return last + "The program, or its use of the library, ended by itself at " +
               clock_time(header, header.ended) + "\n";
    return last + "The program still ran, or ended without a word" +
           (last.empty() ? "" : ", perhaps by that exception") + "\n";
}

std::string heading(const ReportLog &log) {
    const Q32LOGHEADER &header = log.header;
    std::string text = in_one_line(header.program) + ", process " + std::to_string(header.process) +
                       ", " + (header.pointer_bytes == 8 ? "64-bit" : "32-bit") + ", started " +
                       date(header, header.started) + " " + clock_time(header, header.started) +
                       " (" + offset(header.minutes_off_utc) + ")\n" +
                       counted(header.reports, "report");
    if (log.entries.size() != header.reports)
        text += ", the last " + std::to_string(log.entries.size()) + " of them here";
    return text + (header.lost == 0 ? "" : ", " + std::to_string(header.lost) + " lost") + "\n";
}

} // namespace

std::string in_order(const FailureNumbers &numbers) {
    return std::to_string(numbers.message) + ", " + std::to_string(numbers.severity) + ", " +
           std::to_string(numbers.module) + ", " + std::to_string(numbers.point);
}

std::string in_lines(const ReportLog &log) {
    std::string lines = heading(log) + "\n";
    if (!log.entries.empty())
        lines += "  number  time          thread  report             what happened\n";
    for (const Q32LOGENTRY &entry : log.entries)
        lines += line(log.header, entry);
    return lines + (log.entries.empty() ? "" : "\n") + end(log.header);
}

} // namespace apps::q32tool
