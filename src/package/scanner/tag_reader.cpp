#include "package/scanner/tag_reader.h"

#include <taglib/aifffile.h>
#include <taglib/apefile.h>
#include <taglib/asffile.h>
#include <taglib/fileref.h>
#include <taglib/flacfile.h>
#include <taglib/mp4file.h>
#include <taglib/mpcfile.h>
#include <taglib/mpegfile.h>
#include <taglib/oggflacfile.h>
#include <taglib/opusfile.h>
#include <taglib/speexfile.h>
#include <taglib/tpropertymap.h>
#include <taglib/trueaudiofile.h>
#include <taglib/vorbisfile.h>
#include <taglib/wavfile.h>
#include <taglib/wavpackfile.h>

#include <cctype>
#include <exception>

namespace Sonvik::scanner {
namespace {

std::string Text(const TagLib::PropertyMap& properties, const char* key) {
  auto it = properties.find(key);
  if (it == properties.end() || it->second.isEmpty()) return {};
  // Several values (two artists, say) read as one text.
  return it->second.toString("; ").to8Bit(true);
}

// The leading number of "3", "3/12" or "1999-05-01"; 0 when there is none.
int LeadingNumber(const std::string& text) {
  int value = 0;
  size_t i = 0;
  while (i < text.size() && text[i] == ' ') ++i;
  for (int digits = 0;
       i < text.size() && std::isdigit(static_cast<unsigned char>(text[i])) && digits < 9;
       ++i, ++digits) {
    value = value * 10 + (text[i] - '0');
  }
  return value;
}

std::string PcmCodec(int bits, bool big_endian, bool is_float) {
  if (is_float)
    return bits == 64 ? (big_endian ? "pcm_f64be" : "pcm_f64le")
                      : (big_endian ? "pcm_f32be" : "pcm_f32le");
  if (bits <= 8) return big_endian ? "pcm_s8" : "pcm_u8";
  return "pcm_s" + std::to_string(bits) + (big_endian ? "be" : "le");
}

// Container and codec in the names FFmpeg uses, from TagLib's file type.
void DescribeFormat(TagLib::File* file, AudioTags* tags) {
  using namespace TagLib;
  if (auto* mpeg = dynamic_cast<MPEG::File*>(file)) {
    const int layer = mpeg->audioProperties() != nullptr ? mpeg->audioProperties()->layer() : 3;
    tags->container = "mp3";
    tags->codec = layer == 1 ? "mp1" : layer == 2 ? "mp2" : "mp3";
  } else if (dynamic_cast<FLAC::File*>(file) != nullptr) {
    tags->container = tags->codec = "flac";
  } else if (dynamic_cast<Ogg::Vorbis::File*>(file) != nullptr) {
    tags->container = "ogg";
    tags->codec = "vorbis";
  } else if (dynamic_cast<Ogg::Opus::File*>(file) != nullptr) {
    tags->container = "ogg";
    tags->codec = "opus";
  } else if (dynamic_cast<Ogg::FLAC::File*>(file) != nullptr) {
    tags->container = "ogg";
    tags->codec = "flac";
  } else if (dynamic_cast<Ogg::Speex::File*>(file) != nullptr) {
    tags->container = "ogg";
    tags->codec = "speex";
  } else if (auto* mp4 = dynamic_cast<MP4::File*>(file)) {
    tags->container = "mp4";
    const auto* properties = mp4->audioProperties();
    tags->codec =
        properties != nullptr && properties->codec() == MP4::Properties::ALAC ? "alac" : "aac";
  } else if (auto* wav = dynamic_cast<RIFF::WAV::File*>(file)) {
    tags->container = "wav";
    const auto* properties = wav->audioProperties();
    const int format = properties != nullptr ? properties->format() : 0;
    const int bits = properties != nullptr ? properties->bitsPerSample() : 16;
    // WAVE format tags: 1 integer PCM, 3 IEEE float; anything else is a compressed payload.
    tags->codec = format == 1 || format == 3 ? PcmCodec(bits, false, format == 3) : "wav";
  } else if (auto* aiff = dynamic_cast<RIFF::AIFF::File*>(file)) {
    tags->container = "aiff";
    const auto* properties = aiff->audioProperties();
    tags->codec = PcmCodec(properties != nullptr ? properties->bitsPerSample() : 16, true, false);
  } else if (auto* asf = dynamic_cast<ASF::File*>(file)) {
    tags->container = "asf";
    const auto* properties = asf->audioProperties();
    switch (properties != nullptr ? properties->codec() : ASF::Properties::Unknown) {
      case ASF::Properties::WMA1:
        tags->codec = "wmav1";
        break;
      case ASF::Properties::WMA9Pro:
        tags->codec = "wmapro";
        break;
      case ASF::Properties::WMA9Lossless:
        tags->codec = "wmalossless";
        break;
      default:
        tags->codec = "wmav2";
        break;
    }
  } else if (dynamic_cast<APE::File*>(file) != nullptr) {
    tags->container = tags->codec = "ape";
  } else if (dynamic_cast<WavPack::File*>(file) != nullptr) {
    tags->container = "wv";
    tags->codec = "wavpack";
  } else if (dynamic_cast<MPC::File*>(file) != nullptr) {
    tags->container = "mpc";
    tags->codec = "musepack";
  } else if (dynamic_cast<TrueAudio::File*>(file) != nullptr) {
    tags->container = tags->codec = "tta";
  }
}

}  // namespace

std::optional<AudioTags> ReadAudioTags(const std::string& path, std::string* error) {
  try {
    TagLib::FileRef ref(path.c_str(), true, TagLib::AudioProperties::Fast);
    if (ref.isNull() || !ref.file()->isValid()) {
      *error = "not a readable audio file";
      return std::nullopt;
    }
    const TagLib::AudioProperties* audio = ref.audioProperties();
    if (audio == nullptr || audio->sampleRate() <= 0 || audio->channels() <= 0) {
      *error = "no audio stream found";
      return std::nullopt;
    }
    AudioTags tags;
    const TagLib::PropertyMap properties = ref.file()->properties();
    tags.title = Text(properties, "TITLE");
    tags.album = Text(properties, "ALBUM");
    tags.artist = Text(properties, "ARTIST");
    tags.album_artist = Text(properties, "ALBUMARTIST");
    tags.genre = Text(properties, "GENRE");
    tags.year = LeadingNumber(Text(properties, "DATE"));
    tags.track_number = LeadingNumber(Text(properties, "TRACKNUMBER"));
    tags.disc = LeadingNumber(Text(properties, "DISCNUMBER"));
    tags.duration_ms = audio->lengthInMilliseconds();
    tags.bitrate = audio->bitrate() * 1000;
    tags.sample_rate = audio->sampleRate();
    tags.channels = audio->channels();
    DescribeFormat(ref.file(), &tags);
    return tags;
  } catch (const std::exception& e) {
    *error = e.what();
    return std::nullopt;
  }
}

}  // namespace Sonvik::scanner
