#include "package/ffmpeg/types.h"

#include <new>

namespace Sonvik::ffmpeg {

Frame MakeFrame() {
  Frame frame(av_frame_alloc());
  if (!frame) throw std::bad_alloc();
  return frame;
}

Packet MakePacket() {
  Packet packet(av_packet_alloc());
  if (!packet) throw std::bad_alloc();
  return packet;
}

}  // namespace Sonvik::ffmpeg
