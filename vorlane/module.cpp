// What happens when the library loads: its classes are registered, in this order.

#include <vorlane/bitmap/dib.h>
#include <vorlane/histogram/histogram.h>
#include <vorlane/image/image.h>
#include <vorlane/movie/video.h>
#include <vorlane/volume/volume.h>

namespace {

const bool registered = [] {
    AfxClassInit(&CDib::classCDib);
    AfxClassInit(&CHistogram::classCHistogram);
    AfxClassInit(&CImage::classCImage);
    AfxClassInit(&CVideo::classCVideo);
    AfxClassInit(&CVolume::classCVolume);
    return true;
}();

} // namespace
