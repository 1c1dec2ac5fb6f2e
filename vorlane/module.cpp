// What happens when the library loads: its classes are registered, in this order.

#include <vorlane/bitmap/dib.h>
#include <vorlane/image/image.h>

namespace {

const bool registered = [] {
    AfxClassInit(&CDib::classCDib);
    AfxClassInit(&CImage::classCImage);
    return true;
}();

} // namespace
