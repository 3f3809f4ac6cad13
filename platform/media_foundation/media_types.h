// Reads what a program asked for out of its attributes.

#pragma once

#include "platform/media_foundation/attributes.h"
#include "platform/media_foundation/mp4_file.h"

namespace media {

// Stops the process at an attribute or a value that the sink writer does not know, or where one
// that it needs is missing.
void checkWriterAttributes(const AttributeValues& attributes);

// An H.264 or an NV12 type. Throws Failure (MF_E_INVALIDMEDIATYPE) where an attribute is missing or
// the size cannot be encoded; an unknown attribute or value stops the process. The bit rate of an
// NV12 type is 0.
VideoFormat readOutputType(const AttributeValues& type);
VideoFormat readInputType(const AttributeValues& type);

}  // namespace media
