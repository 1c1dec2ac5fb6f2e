#include "host/parts/parts.h"
#include "host/volumes/parts.h"

extern "C" [[gnu::visibility("default")]] const vorlane::host::DicomPart vorlane_part;
const vorlane::host::DicomPart vorlane_part = {vorlane::host::dicom_format.read,
                                               vorlane::host::open_dicom_volume};
