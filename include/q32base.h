/* Q32BASE, the base imaging library: includes every header of the public interface. */
#ifndef Q32BASE_H
#define Q32BASE_H

#include <q32base/bars.h>
#include <q32base/buffers.h>
#include <q32base/display.h>
#include <q32base/errors.h>
#include <q32base/merge.h>
#include <q32base/queues.h>
#include <q32base/resample.h>
#include <q32base/rows.h>
#include <q32base/separation.h>
#include <q32base/types.h>
#include <q32base/version.h>

#endif
