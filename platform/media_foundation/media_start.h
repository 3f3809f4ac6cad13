// Whether the media services run, and who still needs them.

#pragma once

namespace media {

bool isStarted();

// Sink writers that exist; they must be gone before the services stop.
void sinkWriterOpened();
void sinkWriterClosed();

// A sink writer has been released with samples in a file that it did not finish.
void noteLoss();
bool takeLoss();  // Whether that has happened since the last call. Any thread.

}  // namespace media
