// The codecs: named by a header that is included for other things.
#pragma once

struct IWICImagingFactory;
