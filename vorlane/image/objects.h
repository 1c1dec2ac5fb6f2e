// What every class of the library takes from the platform: the runtime class records and the
// message boxes. Included by the header of each class.
#pragma once

#include <vorlane/platform/message_box.h>
#include <vorlane/platform/object.h>
