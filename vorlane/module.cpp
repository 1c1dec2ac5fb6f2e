// What happens when the library loads: its classes are registered, in this order.

#include <vorlane/image/image.h>

namespace {

const bool registered = [] {
    AfxClassInit(&CImage::classCImage);
    return true;
}();

} // namespace
