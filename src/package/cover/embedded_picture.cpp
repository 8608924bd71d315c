#include "package/cover/embedded_picture.h"

#include <taglib/aifffile.h>
#include <taglib/apefile.h>
#include <taglib/apetag.h>
#include <taglib/asffile.h>
#include <taglib/asfpicture.h>
#include <taglib/attachedpictureframe.h>
#include <taglib/flacfile.h>
#include <taglib/flacpicture.h>
#include <taglib/id3v2tag.h>
#include <taglib/mp4file.h>
#include <taglib/mpcfile.h>
#include <taglib/mpegfile.h>
#include <taglib/oggflacfile.h>
#include <taglib/opusfile.h>
#include <taglib/speexfile.h>
#include <taglib/trueaudiofile.h>
#include <taglib/vorbisfile.h>
#include <taglib/wavfile.h>
#include <taglib/wavpackfile.h>
#include <taglib/xiphcomment.h>

#include <string_view>

namespace Sonvik::webapi::cover {
namespace {

// Keeps the front cover when one comes along, else the first picture offered.
class PictureChoice {
 public:
  void Offer(const TagLib::ByteVector& data, bool front_cover) {
    if (data.isEmpty() || data.size() > kMaxPictureBytes) return;
    if (has_front_ || (has_any_ && !front_cover)) return;
    bytes_.assign(data.data(), data.size());
    has_any_ = true;
    has_front_ = front_cover;
  }
  bool has_front() const { return has_front_; }
  std::string Take() { return std::move(bytes_); }

 private:
  std::string bytes_;
  bool has_any_ = false;
  bool has_front_ = false;
};

void FromId3v2(TagLib::ID3v2::Tag* tag, PictureChoice& choice) {
  if (tag == nullptr) return;
  for (TagLib::ID3v2::Frame* frame : tag->frameList("APIC")) {
    auto* picture = dynamic_cast<TagLib::ID3v2::AttachedPictureFrame*>(frame);
    if (picture == nullptr) continue;
    choice.Offer(picture->picture(),
                 picture->type() == TagLib::ID3v2::AttachedPictureFrame::FrontCover);
  }
}

void FromFlacPictures(const TagLib::List<TagLib::FLAC::Picture*>& pictures, PictureChoice& choice) {
  for (TagLib::FLAC::Picture* picture : pictures) {
    choice.Offer(picture->data(), picture->type() == TagLib::FLAC::Picture::FrontCover);
  }
}

void FromXiph(TagLib::Ogg::XiphComment* comment, PictureChoice& choice) {
  if (comment != nullptr) FromFlacPictures(comment->pictureList(), choice);
}

void FromApe(TagLib::APE::Tag* tag, PictureChoice& choice) {
  if (tag == nullptr) return;
  const auto& items = tag->itemListMap();
  for (const char* key : {"COVER ART (FRONT)", "COVER ART (OTHER)"}) {
    auto found = items.find(key);
    if (found == items.end()) continue;
    // A binary item: the picture's file name, a zero byte, then the picture.
    TagLib::ByteVector data = found->second.binaryData();
    int zero = data.find('\0');
    if (zero >= 0) choice.Offer(data.mid(static_cast<unsigned>(zero) + 1), key[10] == 'F');
  }
}

void FromMp4(TagLib::MP4::Tag* tag, PictureChoice& choice) {
  if (tag == nullptr || !tag->contains("covr")) return;
  // MP4 has no picture types; the first one is the cover by convention.
  for (const TagLib::MP4::CoverArt& art : tag->item("covr").toCoverArtList()) {
    choice.Offer(art.data(), true);
  }
}

void FromAsf(TagLib::ASF::Tag* tag, PictureChoice& choice) {
  if (tag == nullptr || !tag->contains("WM/Picture")) return;
  for (const TagLib::ASF::Attribute& attribute : tag->attribute("WM/Picture")) {
    TagLib::ASF::Picture picture = attribute.toPicture();
    if (picture.isValid()) {
      choice.Offer(picture.picture(), picture.type() == TagLib::ASF::Picture::FrontCover);
    }
  }
}

std::string LowerExtension(const std::string& path) {
  size_t slash = path.rfind('/');
  size_t dot = path.rfind('.');
  if (dot == std::string::npos || (slash != std::string::npos && dot < slash)) return {};
  std::string extension = path.substr(dot + 1);
  for (char& c : extension) {
    if (c >= 'A' && c <= 'Z') c = static_cast<char>(c - 'A' + 'a');
  }
  return extension;
}

}  // namespace

std::string ReadEmbeddedPicture(const std::string& path) {
  const std::string extension = LowerExtension(path);
  const char* name = path.c_str();
  constexpr bool kNoAudioProperties = false;
  PictureChoice choice;
  if (extension == "mp3" || extension == "mp2") {
    TagLib::MPEG::File file(name, kNoAudioProperties);
    if (file.isValid()) FromId3v2(file.ID3v2Tag(), choice);
  } else if (extension == "flac") {
    TagLib::FLAC::File file(name, kNoAudioProperties);
    if (file.isValid()) {
      FromFlacPictures(file.pictureList(), choice);
      if (!choice.has_front()) FromXiph(file.xiphComment(), choice);
      if (!choice.has_front()) FromId3v2(file.ID3v2Tag(), choice);
    }
  } else if (extension == "m4a" || extension == "m4b" || extension == "mp4" || extension == "aac") {
    TagLib::MP4::File file(name, kNoAudioProperties);
    if (file.isValid()) FromMp4(file.tag(), choice);
  } else if (extension == "ogg" || extension == "oga") {
    // An .ogg holds Vorbis most of the time, sometimes FLAC or Opus; each reader checks.
    TagLib::Ogg::Vorbis::File vorbis(name, kNoAudioProperties);
    if (vorbis.isValid()) {
      FromXiph(vorbis.tag(), choice);
    } else {
      TagLib::Ogg::FLAC::File flac(name, kNoAudioProperties);
      if (flac.isValid()) {
        FromXiph(flac.tag(), choice);
      } else {
        TagLib::Ogg::Opus::File opus(name, kNoAudioProperties);
        if (opus.isValid()) FromXiph(opus.tag(), choice);
      }
    }
  } else if (extension == "opus") {
    TagLib::Ogg::Opus::File file(name, kNoAudioProperties);
    if (file.isValid()) FromXiph(file.tag(), choice);
  } else if (extension == "spx") {
    TagLib::Ogg::Speex::File file(name, kNoAudioProperties);
    if (file.isValid()) FromXiph(file.tag(), choice);
  } else if (extension == "tta") {
    TagLib::TrueAudio::File file(name, kNoAudioProperties);
    if (file.isValid()) FromId3v2(file.ID3v2Tag(), choice);
  } else if (extension == "wav") {
    TagLib::RIFF::WAV::File file(name, kNoAudioProperties);
    if (file.isValid()) FromId3v2(file.ID3v2Tag(), choice);
  } else if (extension == "aif" || extension == "aiff" || extension == "aifc") {
    TagLib::RIFF::AIFF::File file(name, kNoAudioProperties);
    if (file.isValid()) FromId3v2(file.tag(), choice);
  } else if (extension == "ape") {
    TagLib::APE::File file(name, kNoAudioProperties);
    if (file.isValid()) FromApe(file.APETag(), choice);
  } else if (extension == "wv") {
    TagLib::WavPack::File file(name, kNoAudioProperties);
    if (file.isValid()) FromApe(file.APETag(), choice);
  } else if (extension == "mpc") {
    TagLib::MPC::File file(name, kNoAudioProperties);
    if (file.isValid()) FromApe(file.APETag(), choice);
  } else if (extension == "wma" || extension == "asf") {
    TagLib::ASF::File file(name, kNoAudioProperties);
    if (file.isValid()) FromAsf(file.tag(), choice);
  }
  return choice.Take();
}

}  // namespace Sonvik::webapi::cover
