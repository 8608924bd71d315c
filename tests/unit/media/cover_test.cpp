// Covers: pictures embedded in each tag format, the cache, folder pictures, and get_cover.
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/wait.h>
#include <taglib/attachedpictureframe.h>
#include <taglib/flacfile.h>
#include <taglib/flacpicture.h>
#include <taglib/id3v2tag.h>
#include <taglib/mp4file.h>
#include <taglib/mpegfile.h>
#include <taglib/opusfile.h>
#include <taglib/vorbisfile.h>
#include <taglib/xiphcomment.h>

#include <filesystem>
#include <string>

#include "handler_fixture.h"
#include "package/cover/cover_library.h"
#include "package/cover/picture_type.h"
#include "package/paths.h"
#include "voice_module/handlers/browse_handler.h"
#include "voice_module/module/handlers.h"

namespace Sonvik::testing {
namespace {

namespace fs = std::filesystem;
using ::testing::ElementsAre;
using ::testing::StartsWith;
using webapi::cover::CoverLibrary;

const std::string kJpeg = std::string("\xFF\xD8\xFF\xE0", 4) + "jpeg picture" + PatternBytes(300);
const std::string kPng = std::string("\x89PNG\r\n\x1A\n", 8) + "png picture" + PatternBytes(200);

TagLib::ByteVector Vector(const std::string& bytes) {
  return TagLib::ByteVector(bytes.data(), static_cast<unsigned>(bytes.size()));
}

TagLib::FLAC::Picture* FlacPicture(const std::string& bytes, TagLib::FLAC::Picture::Type type) {
  auto* picture = new TagLib::FLAC::Picture;
  picture->setType(type);
  picture->setMimeType("image/jpeg");
  picture->setData(Vector(bytes));
  return picture;
}

void AddApic(const std::string& path, const std::string& bytes,
             TagLib::ID3v2::AttachedPictureFrame::Type type) {
  TagLib::MPEG::File file(path.c_str());
  auto* frame = new TagLib::ID3v2::AttachedPictureFrame;
  frame->setType(type);
  frame->setMimeType("image/jpeg");
  frame->setPicture(Vector(bytes));
  file.ID3v2Tag(true)->addFrame(frame);
  file.save();
}

TEST(PictureType, ByMagicBytes) {
  EXPECT_EQ(webapi::cover::PictureExtension(kJpeg), "jpg");
  EXPECT_EQ(webapi::cover::PictureExtension(kPng), "png");
  EXPECT_EQ(webapi::cover::PictureExtension(std::string("RIFF\x10\0\0\0WEBPVP8 ", 16)), "webp");
  EXPECT_EQ(webapi::cover::PictureExtension("GIF89a......"), "gif");
  EXPECT_EQ(webapi::cover::PictureExtension("BM" + std::string(30, '\0')), "bmp");
  for (std::string bytes : {std::string(), std::string("\xFF\xD8"), std::string("RIFF1234WAVE"),
                            std::string("BM"), std::string("<svg/>")}) {
    EXPECT_EQ(webapi::cover::PictureExtension(bytes), "") << bytes;
  }
}

class CoverTest : public MediaHandlerTest {
 protected:
  void SetUp() override {
    MediaHandlerTest::SetUp();
    dir_ = ScratchDir("covers");
    fs::remove_all(paths::kPackageRoot);
  }
  std::string Audio(const std::string& name, const std::string& options = "") {
    std::string path = dir_ + "/" + name;
    EXPECT_TRUE(MakeAudio(path, 0.5, 44100, 1, 0, options));
    return path;
  }
  static std::string Embedded(const std::string& path) {
    return CoverLibrary(nullptr).GetEmbeddedCoverPath(path);
  }
  static std::string Folder(const std::string& path) {
    return CoverLibrary(nullptr).GetFolderCoverPath(path);
  }
  std::string dir_;
};

TEST_F(CoverTest, EmbeddedPictureOfEachTagFormat) {
  std::string mp3 = Audio("a.mp3");
  AddApic(mp3, kJpeg, TagLib::ID3v2::AttachedPictureFrame::FrontCover);

  std::string flac = Audio("b.flac");
  {
    TagLib::FLAC::File file(flac.c_str());
    file.addPicture(FlacPicture(kPng, TagLib::FLAC::Picture::FrontCover));
    file.save();
  }
  std::string ogg = Audio("c.ogg", "-c:a libvorbis");
  {
    TagLib::Ogg::Vorbis::File file(ogg.c_str());
    file.tag()->addPicture(FlacPicture(kJpeg, TagLib::FLAC::Picture::FrontCover));
    file.save();
  }
  std::string opus = Audio("d.opus");
  {
    TagLib::Ogg::Opus::File file(opus.c_str());
    file.tag()->addPicture(FlacPicture(kPng, TagLib::FLAC::Picture::Other));
    file.save();
  }
  std::string m4a = Audio("e.m4a", "-c:a aac");
  {
    TagLib::MP4::File file(m4a.c_str());
    TagLib::MP4::CoverArtList covers;
    covers.append(TagLib::MP4::CoverArt(TagLib::MP4::CoverArt::JPEG, Vector(kJpeg)));
    file.tag()->setItem("covr", covers);
    file.save();
  }
  struct Case {
    std::string track;
    std::string picture;
    std::string extension;
  };
  const Case cases[] = {{mp3, kJpeg, ".jpg"},
                        {flac, kPng, ".png"},
                        {ogg, kJpeg, ".jpg"},
                        {opus, kPng, ".png"},
                        {m4a, kJpeg, ".jpg"}};
  for (const auto& c : cases) {
    SCOPED_TRACE(c.track);
    std::string cached = Embedded(c.track);
    EXPECT_THAT(cached, StartsWith(std::string(paths::kCoverCache) + "/"));
    EXPECT_EQ(fs::path(cached).extension(), c.extension);
    EXPECT_EQ(ReadFile(cached), c.picture);
  }
}

TEST_F(CoverTest, FrontCoverWinsOverOtherPictures) {
  std::string mp3 = Audio("a.mp3");
  AddApic(mp3, kPng, TagLib::ID3v2::AttachedPictureFrame::BackCover);
  AddApic(mp3, kJpeg, TagLib::ID3v2::AttachedPictureFrame::FrontCover);
  EXPECT_EQ(ReadFile(Embedded(mp3)), kJpeg);

  std::string other = Audio("b.mp3");
  AddApic(other, kPng, TagLib::ID3v2::AttachedPictureFrame::BackCover);
  AddApic(other, kJpeg, TagLib::ID3v2::AttachedPictureFrame::Artist);
  EXPECT_EQ(ReadFile(Embedded(other)), kPng);  // no front cover: the first picture
}

TEST_F(CoverTest, NoPictureIsRememberedToo) {
  std::string plain = Audio("plain.mp3");
  EXPECT_EQ(Embedded(plain), "");
  EXPECT_EQ(Embedded(plain), "");
  size_t entries = 0;
  for (const auto& entry : fs::directory_iterator(paths::kCoverCache)) {
    EXPECT_EQ(entry.path().extension(), ".none");
    ++entries;
  }
  EXPECT_EQ(entries, 1u);

  std::string not_audio = dir_ + "/text.mp3";
  WriteFile(not_audio, "just text");
  EXPECT_EQ(Embedded(not_audio), "");
  EXPECT_EQ(Embedded(dir_ + "/missing.mp3"), "");
  EXPECT_EQ(Embedded(dir_), "");
}

TEST_F(CoverTest, CacheIsKeyedByModificationTime) {
  std::string mp3 = Audio("a.mp3");
  AddApic(mp3, kJpeg, TagLib::ID3v2::AttachedPictureFrame::FrontCover);
  SetModificationTime(mp3, 1600000000, 0);
  std::string first = Embedded(mp3);
  ASSERT_EQ(ReadFile(first), kJpeg);

  // A hit is served from the cache without reading the audio file again.
  WriteFile(first, "stale on purpose");
  EXPECT_EQ(Embedded(mp3), first);
  EXPECT_EQ(ReadFile(first), "stale on purpose");

  // A new modification time is a new entry, read afresh.
  SetModificationTime(mp3, 1600000001, 0);
  std::string second = Embedded(mp3);
  EXPECT_NE(second, first);
  EXPECT_EQ(ReadFile(second), kJpeg);
}

TEST_F(CoverTest, ConcurrentExtractionsAgree) {
  std::string flac = Audio("b.flac");
  {
    TagLib::FLAC::File file(flac.c_str());
    file.addPicture(FlacPicture(kPng + PatternBytes(200000), TagLib::FLAC::Picture::FrontCover));
    file.save();
  }
  std::vector<pid_t> children;
  for (int i = 0; i < 4; ++i) {
    pid_t pid = ::fork();
    if (pid == 0) {
      bool ok = true;
      for (int round = 0; round < 20 && ok; ++round) {
        std::string path = Embedded(flac);
        ok = !path.empty() && ReadFile(path).size() == kPng.size() + 200000;
      }
      ::_exit(ok ? 0 : 1);
    }
    children.push_back(pid);
  }
  for (pid_t pid : children) {
    int status = 0;
    ::waitpid(pid, &status, 0);
    EXPECT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) == 0);
  }
  size_t entries = 0;
  for (const auto& entry : fs::directory_iterator(paths::kCoverCache)) {
    EXPECT_EQ(entry.path().extension(), ".png") << "no temporary file left behind";
    ++entries;
  }
  EXPECT_EQ(entries, 1u);
}

TEST_F(CoverTest, FolderPicturePreferenceAndLetterCase) {
  std::string track = dir_ + "/01.flac";
  WriteFile(track, "");
  EXPECT_EQ(Folder(track), "");
  WriteFile(dir_ + "/cover.gif", kPng);
  WriteFile(dir_ + "/back.jpg", kJpeg);
  WriteFile(dir_ + "/mycover.jpg", kJpeg);
  EXPECT_EQ(Folder(track), "");

  struct Step {
    const char* add;
    const char* chosen;
  };
  const Step steps[] = {{"AlbumArt.JPG", "AlbumArt.JPG"}, {"Front.PNG", "Front.PNG"},
                        {"front.jpeg", "front.jpeg"},     {"folder.webp", "folder.webp"},
                        {"COVER.WEBP", "COVER.WEBP"},     {"Cover.Png", "Cover.Png"},
                        {"cover.jpg", "cover.jpg"}};
  for (const auto& step : steps) {
    WriteFile(dir_ + "/" + step.add, kJpeg);
    EXPECT_EQ(Folder(track), dir_ + "/" + step.chosen) << "after adding " << step.add;
  }
  // A folder with a picture's name is no picture.
  fs::remove(dir_ + "/cover.jpg");
  fs::create_directory(dir_ + "/cover.jpg");
  EXPECT_EQ(Folder(track), dir_ + "/Cover.Png");
  EXPECT_EQ(Folder("no-folder.flac"), "");
}

TEST_F(CoverTest, GetCoverPrefersTheEmbeddedPicture) {
  std::string mp3 = Audio("a.mp3");
  AddApic(mp3, kJpeg, TagLib::ID3v2::AttachedPictureFrame::FrontCover);
  WriteFile(dir_ + "/cover.png", kPng);
  FakeTracks()["21"] = {MakeRecord(21, mp3), 0};
  HandlerAnswer answer = Call(GetCoverByTrackId, 21);
  auto [head, body] = SplitAnswer(answer.output);
  EXPECT_THAT(head, StartsWith("Content-Type: image/jpeg\r\nContent-Length: " +
                               std::to_string(kJpeg.size()) + "\r\n"));
  EXPECT_EQ(body, kJpeg);
  // The JSON output is left as it was, and nothing is answered through it.
  EXPECT_TRUE(answer.response.output_enabled());
  EXPECT_EQ(answer.response.state(), QUOR::APIResponse::State::kUnanswered);
  EXPECT_TRUE(LogTexts().empty());
}

TEST_F(CoverTest, GetCoverFallsBackToTheFolder) {
  std::string mp3 = Audio("a.mp3");
  WriteFile(dir_ + "/Folder.PNG", kPng);
  ::chmod((dir_ + "/Folder.PNG").c_str(), 0600);  // read as root by the file writer
  FakeTracks()["22"] = {MakeRecord(22, mp3), 3};  // a positive lookup answer still counts
  HandlerAnswer answer = Call(GetCoverByTrackId, 22);
  auto [head, body] = SplitAnswer(answer.output);
  EXPECT_THAT(head, StartsWith("Content-Type: image/png\r\n"));
  EXPECT_EQ(body, kPng);
  EXPECT_EQ(answer.euid_after, service_uid_);
  EXPECT_TRUE(LogTexts().empty());
}

TEST_F(CoverTest, GetCoverWithoutPictureOrTrack) {
  FakeTracks()["23"] = {MakeRecord(23, Audio("plain.mp3")), 0};
  HandlerAnswer answer = Call(GetCoverByTrackId, 23);
  EXPECT_EQ(answer.output, k404);
  EXPECT_TRUE(LogTexts().empty());

  FakeTracks()["24"] = {MakeRecord(24, ""), 0};
  for (int id : {7, 24}) {
    ClearCapturedLog();
    answer = Call(GetCoverByTrackId, id);
    EXPECT_EQ(answer.output, k404);
    EXPECT_THAT(LogTexts(), ElementsAre("browse_handler:24 Failed to get track path [" +
                                        std::to_string(id) + "]."));
  }
}

}  // namespace
}  // namespace Sonvik::testing
