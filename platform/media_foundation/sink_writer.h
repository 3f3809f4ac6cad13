// What the rest of the layer asks of the sink writers.

#pragma once

namespace media {

// Whether a sink writer has been released with samples in a file that it did not finish, since the
// last call. Any thread.
bool takeLoss();

}  // namespace media
