// Whether the media services run, and who still needs them.

#pragma once

namespace media {

bool isStarted();

// Sink writers that exist; they must be gone before the services stop.
void sinkWriterOpened();
void sinkWriterClosed();

}  // namespace media
