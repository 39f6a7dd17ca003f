/*
 * q32comm: the log file of the flight recorder.
 *
 * The flight recorder is a build of q32comm.dll (bin/recorder in the package) that keeps the last
 * reports of its process in a file, so that somebody else can read what went before a failure.
 * `q32tool explain --log FILE` reads such a file; docs/support.md tells how to make one.
 *
 * A file is one Q32LOGHEADER and, behind it, a ring of entry_count Q32LOGENTRY. It is mapped into
 * the process that writes it: it can be read while that process runs, and is as it was when the
 * process ended, however it ended. Numbers are little-endian; the layout is the same in both
 * editions. Times are those of a FILETIME: hundreds of nanoseconds since 1601 in UTC.
 *
 * Entry i of the ring holds the reports with the numbers i + 1, i + 1 + entry_count and so on, the
 * last of them. It is whole when `number` is one of these and `number_again` the same: a reader
 * passes over an entry that is being written.
 */
#ifndef Q32COMM_LOG_H
#define Q32COMM_LOG_H

#include <stdint.h>

#define Q32LOG_MAGIC     "q32comm reports" /* 15 characters and a zero */
#define Q32LOG_VERSION   1
#define Q32LOG_ENTRIES   1024
#define Q32LOG_NAME_SIZE 64  /* room for a file name without its path, cut, with a terminator */
#define Q32LOG_TEXT_SIZE 208 /* room for the text of a report, likewise */

/* What an exception has done to the process. */
#define Q32LOG_NO_FAULT    0
#define Q32LOG_FAULT_SEEN  1 /* the process may have dealt with it: it did not end by it, yet */
#define Q32LOG_FAULT_FATAL 2 /* nobody dealt with it */

/* The last exception of the process that says that something is wrong (access violations and the
   like; not those that languages throw, unless nobody catches them). */
typedef struct Q32LOGFAULT {
    uint32_t state;  /* Q32LOG_NO_FAULT ...; the other fields hold when it is not 0 */
    uint32_t code;   /* of the exception, as 0xC0000005 */
    uint32_t thread; /* its system-wide number */
    uint32_t access; /* of an access violation: 0 read, 1 write, 8 execute; else 0xFFFFFFFF */
    uint64_t time;
    uint64_t address;              /* of the instruction */
    uint64_t module_base;          /* of the module that it lies in; 0: in none */
    uint64_t data_address;         /* of an access violation: what was accessed */
    char module[Q32LOG_NAME_SIZE]; /* file name of the module; empty: not known */
} Q32LOGFAULT;

typedef struct Q32LOGHEADER {
    char magic[16];         /* Q32LOG_MAGIC */
    uint32_t version;       /* Q32LOG_VERSION */
    uint32_t header_bytes;  /* of this record, behind which the ring begins */
    uint32_t entry_bytes;   /* of a Q32LOGENTRY */
    uint32_t entry_count;   /* Q32LOG_ENTRIES */
    uint32_t process;       /* number of the process */
    uint32_t pointer_bytes; /* 4 or 8: the edition */
    uint32_t reports;       /* reports made so far: the number of the last one */
    uint32_t lost;          /* of these, not in the ring: two met at one entry */
    uint64_t started;       /* when the process began */
    uint64_t ended;         /* when it ended or unloaded the library; 0: it has not, or was ended */
    int32_t minutes_off_utc; /* of the local time there; local time = UTC + this */
    uint32_t zero[3];
    char program[Q32LOG_NAME_SIZE]; /* file name of the program */
    Q32LOGFAULT fault;
} Q32LOGHEADER;

typedef struct Q32LOGENTRY {
    uint32_t number; /* of the report, from 1; 0: none yet, or being written */
    uint32_t thread; /* that made it: its system-wide number */
    uint64_t time;
    int32_t message; /* these as in C32ERRINFO (q32comm.h) */
    int32_t severity;
    int32_t library;
    int32_t module;
    int32_t point;
    uint32_t busy;               /* not 0: being written */
    char text[Q32LOG_TEXT_SIZE]; /* of a report with a text of its own; in the ANSI code page */
    uint32_t number_again;
    uint32_t zero;
} Q32LOGENTRY;

typedef char Q32LOGHEADER_has_its_layout[sizeof(Q32LOGHEADER) == 256 ? 1 : -1];
typedef char Q32LOGENTRY_has_its_layout[sizeof(Q32LOGENTRY) == 256 ? 1 : -1];

#endif
