#include "package/audio/mp3_support.h"

extern "C" {
#include <libavcodec/avcodec.h>
}

extern "C" int QUORAudioCanEncodeMp3() {
  return avcodec_find_encoder(AV_CODEC_ID_MP3) != nullptr ? 1 : 0;
}
