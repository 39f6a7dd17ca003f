#include "resample/resample.h"
