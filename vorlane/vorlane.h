// All of Vorlane that a host needs.
#pragma once

#include <vorlane/bitmap/dib.h>
#include <vorlane/filters/recursive_gaussian.h>
#include <vorlane/filters/ridges.h>
#include <vorlane/histogram/histogram.h>
#include <vorlane/image/arrays.h>
#include <vorlane/image/codes.h>
#include <vorlane/image/colour.h>
#include <vorlane/image/image.h>
#include <vorlane/image/objects.h>
#include <vorlane/imagefiles/image_files.h>
#include <vorlane/movie/video.h>
#include <vorlane/numerics/solvers.h>
#include <vorlane/platform/avifile.h>
#include <vorlane/platform/file.h>
#include <vorlane/platform/gdi.h>
#include <vorlane/platform/message_box.h>
#include <vorlane/platform/object.h>
#include <vorlane/platform/string.h>
#include <vorlane/volume/volume.h>
