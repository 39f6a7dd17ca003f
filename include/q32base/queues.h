/*
 * Q32BASE: queues: messages between threads, and long jobs in steps.
 *
 * Two things that have nothing but the word in common:
 *
 *     message queue    one queue of byte messages for the process, first in, first out
 *     dispatch queue   jobs of several clients, worked through a step at a time by callbacks on the
 *                      thread that asks for the next step
 *
 * Nothing here is reported (errors.h) but what is listed at d32AddQueue. Null pointers where one is
 * needed: 0, and nothing happens; the same when the system does not let the library at the messages
 * of the queue.
 */
#ifndef Q32BASE_QUEUES_H
#define Q32BASE_QUEUES_H

#include <q32base/types.h>

Q32_BEGIN_DECLS

/* --- message queue --------------------------------------------------------------------------- */

/*
 * Threads. AddQueue, GetFromQueue and ClearQueue may be called by any threads at once between
 * CreateQueue and DeleteQueue, which must not run beside anything here; IsQueueEmpty is a snapshot,
 * without waiting.
 */

/*
 * Makes the queue.
 *
 *   owner   a number that DeleteQueue must repeat. With 0 the queue works but counts as none: it
 *           can be made again, and the messages it holds are lost
 *
 * Returns 0 when there is a queue of an owner other than 0, or no memory.
 */
Q32_API int Q32_CALL CreateQueue(uint32_t owner);

/*
 * Frees the queue and its messages. Returns 0, and nothing happens, when owner is not that of the
 * queue. Without a queue the owner is 0: 1 is returned.
 */
Q32_API int Q32_CALL DeleteQueue(uint32_t owner);

/*
 * Appends a copy of a message. Returns 0, the queue unchanged, without a queue or memory.
 *
 *   data   size bytes; may be null when size is 0
 */
Q32_API int Q32_CALL AddQueue(const void *data, uint32_t size);

/*
 * Takes the oldest message out.
 *
 *   buffer   receives it and two zero bytes behind it: size of the message + 2 bytes. With a null
 *            buffer no message is taken out
 *   size     the largest message to accept, not counting those two bytes; messages that are larger
 *            stay. -1: asks for the size of the oldest message, which stays; buffer is not used
 *
 * Returns the message's size; 0 when there is none, no queue, or no buffer for it; -1 when it is
 * larger than size, whether there is a buffer or not. A message of no bytes cannot be told from
 * none.
 */
Q32_API int Q32_CALL GetFromQueue(void *buffer, int size);

/* Discards all messages. Returns how many there were. */
Q32_API int Q32_CALL ClearQueue(void);

/* 1 when the queue holds no message, or there is none; else 0. */
Q32_API int Q32_CALL IsQueueEmpty(void);

/* --- dispatch queue -------------------------------------------------------------------------- */

/*
 * A job is a rectangle to be gone through in tiles or bands, or a sequence of numbered steps. One
 * job is current; each d32DispatchQueue has its callback do one step. Up to 16 others wait. When a
 * job ends the next one is chosen: of priority 2, then 1, then 0; within a priority the first of
 * the owner whose job has just ended, else the first at all.
 *
 * Threads. Everything runs on the threads that call. d32AddQueue, d32DispatchQueue and
 * d32DeleteQueue may be called by any threads at once: they hold the library's lock, callbacks
 * included, and wait for whoever has it, q32BufferResample too. Callbacks may call all functions of
 * this header. The other functions do not wait: call them from callbacks, or where no other thread
 * is inside a function of this section; d32IsInQueue dispatches when it is told to wait.
 *
 * A message loop makes a step whenever no message waits, and sleeps when nothing is left to do:
 *
 *     for (;;) {
 *         while (PeekMessage(&message, NULL, 0, 0, PM_REMOVE)) {
 *             if (message.message == WM_QUIT)
 *                 return (int)message.wParam;
 *             TranslateMessage(&message);
 *             DispatchMessage(&message);
 *         }
 *         if (!d32DispatchQueue())
 *             WaitMessage();
 *     }
 *
 * Another thread that adds a job then posts a message to wake the loop. Menus, dialogs and the
 * moving of windows have loops of their own, which make no steps unless a timer does.
 */

/*
 * Messages to a job's callback, in the order in which they come. Their parameter is a const RECT *,
 * good until the callback returns, or a number. The replies to the first and last are ignored.
 *
 *   D32_BEGIN   the job has become current. Tiles and bands: (0, 0, width, height) of a tile;
 *               steps: the job's rectangle. A job that has waited leaves the table when the
 *               callback returns: until then it is counted there too, but not chosen again, and
 *               then its end rectangle in the table becomes the current one's, whatever that was
 *               changed to meanwhile
 *   D32_STEP    one step. Tiles and bands: the tile; steps: its number
 *   D32_END     the job has ended: it is done, was stopped, deleted or replaced. Its end rectangle
 */
#define D32_BEGIN 16
#define D32_STEP  32
#define D32_END   64

/*
 * A job's callback. Not 0: go on; 0: end the job.
 */
typedef int(Q32_CALL D32CALLBACK)(int message, uint32_t owner, intptr_t parameter,
                                  intptr_t user_data);

/* Modes of a job. */
#define D32_TILES 0 /* row by row, from left to right */
#define D32_BANDS 1 /* of the whole width, from the top down */
#define D32_STEPS 2 /* numbered steps */

typedef struct DispatchDesc {
    int32_t value; /* kept with the job */
    D32CALLBACK *callback;
    intptr_t user_data; /* handed to the callback */
    int32_t first;      /* tiles: width. Bands: height. Steps: first number. Sizes of 0: 128 */
    int32_t last;       /* tiles: height, 0: 128. Steps: last number */
} DispatchDesc;

/*
 * Adds a job. It begins at once when none is current.
 *
 *   owner        identifies the client; not 0
 *   rectangle    the job's. Tiles and bands are cut to it. With an empty one (right <= left or
 *                bottom <= top) there is no job of tiles or bands: 1 is returned without one, but
 *                with replace not 0 what is said there happens all the same
 *   replace      not 0: the owner's waiting jobs are taken out first, and when the current job is
 *                its own, that ends and this one begins. When this one is empty, the next waiting
 *                job begins instead; if there is none, the job that has received D32_END stays
 *                current and is stepped further
 *   value1, value2
 *                kept with the waiting job
 *   mode         D32_ value; not 0 to 2: refused
 *   description  copied. Sizes below 0: refused
 *
 * A job that has to wait has priority 1 when its owner is that of d32SetFirstService, else 0. When
 * 16 are waiting, those of the current owner are raised to priority 2 and steps are made until its
 * jobs are done; if there is no room even then, the job is refused.
 *
 * Returns 1; 0 without a report when owner or the callback is 0, the rectangle is empty (in every
 * mode) without replace, or the job is refused; and 0 with
 *   1001, 0, 6, 9   64 KB of memory cannot be had
 */
Q32_API int Q32_CALL d32AddQueue(uint32_t owner, const RECT *rectangle, int replace,
                                 intptr_t value1, intptr_t value2, int mode,
                                 const DispatchDesc *description);

/*
 * Makes one step of the current job; when none is current the next one begins first. Returns 1 when
 * there may be more to do, 0 when no job is current afterwards.
 */
Q32_API int Q32_CALL d32DispatchQueue(void);

/*
 * Takes an owner's waiting jobs out, and ends the current one when it is its own. Returns 0 for
 * owner 0, else 1.
 */
Q32_API int Q32_CALL d32DeleteQueue(uint32_t owner);

/* What d32GetCurQueue tells. */
typedef struct DispatchRects {
    int32_t count;
    RECT rectangles[1]; /* count of them: the current job's, then those of its owner's waiting jobs
                           in the order of the table */
} DispatchRects;

/*
 * Returns the owner of the current job, 0 when there is none.
 *
 *   rects   may be null. Receives a fixed block with a DispatchRects, to be freed with GlobalFree;
 *           0 when no job is current or there is no memory
 */
Q32_API uint32_t Q32_CALL d32GetCurQueue(HGLOBAL *rects);

/*
 * Whether an owner has the current job or a waiting one.
 *
 *   wait   not 0: its waiting jobs are raised to priority 2, and steps are made until its jobs are
 *          done (a job of another that is current is finished first)
 *
 * Returns what was so before the wait: 1, or 0; always 0, without waiting, when no job is current.
 */
Q32_API int Q32_CALL d32IsInQueue(uint32_t owner, int wait);

/*
 * Changes what a job's D32_END will say.
 *
 *   rectangle   identifies the job: its present end rectangle, at first the job's own
 *   end         the new one
 *
 * Returns 1; 0 when the owner has no such job.
 */
Q32_API int Q32_CALL d32SetEndDispatchRect(uint32_t owner, const RECT *rectangle, const RECT *end);

/*
 * From now on jobs of this owner wait with priority 1, also those that wait already; those of the
 * owner before keep theirs. 0: nobody's. Returns 1.
 */
Q32_API int Q32_CALL d32SetFirstService(uint32_t owner);

Q32_RECORD_BYTES(DispatchDesc, 20, 32);

Q32_END_DECLS

#endif
