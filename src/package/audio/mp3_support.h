#pragma once
// Whether this machine's FFmpeg can encode MP3. Lives in the media library so that tools which
// only ask this question can load FFmpeg on demand instead of at every start.

// Non-zero when libavcodec offers an MP3 encoder.
extern "C" int QUORAudioCanEncodeMp3();
