#include "unit/scanner/scan_fixture.h"

#include <sys/wait.h>
#include <unistd.h>

#include <fstream>

#include "package/library/library_database.h"
#include "package/library/library_folders.h"
#include "package/paths.h"
#include "package/sqlite/statement.h"

namespace Sonvik::scanner::testing {

int RunProgram(const std::vector<std::string>& argv) {
  std::vector<char*> args;
  for (const std::string& arg : argv) args.push_back(const_cast<char*>(arg.c_str()));
  args.push_back(nullptr);
  const pid_t pid = fork();
  if (pid == 0) {
    execvp(args[0], args.data());
    _exit(127);
  }
  int status = 0;
  if (pid < 0 || waitpid(pid, &status, 0) != pid) return -1;
  return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
}

void MakeAudioFile(const fs::path& path, double seconds,
                   const std::map<std::string, std::string>& tags) {
  fs::create_directories(path.parent_path());
  std::vector<std::string> argv = {
      "ffmpeg",    "-hide_banner",
      "-loglevel", "error",
      "-nostdin",  "-y",
      "-f",        "lavfi",
      "-i",        "sine=frequency=440:sample_rate=44100:duration=" + std::to_string(seconds),
      "-ac",       "2"};
  const std::string ext = path.extension().string();
  if (ext == ".mp3") argv.insert(argv.end(), {"-c:a", "libmp3lame", "-b:a", "128k"});
  if (ext == ".ogg") argv.insert(argv.end(), {"-c:a", "libvorbis"});
  if (ext == ".opus") argv.insert(argv.end(), {"-c:a", "libopus", "-ar", "48000"});
  if (ext == ".m4a") argv.insert(argv.end(), {"-c:a", "aac", "-b:a", "128k"});
  for (const auto& [key, value] : tags) argv.insert(argv.end(), {"-metadata", key + "=" + value});
  argv.push_back(path.string());
  ASSERT_EQ(RunProgram(argv), 0) << "ffmpeg failed to make " << path;
}

void WriteFile(const fs::path& path, const std::string& content) {
  fs::create_directories(path.parent_path());
  std::ofstream out(path, std::ios::binary | std::ios::trunc);
  out << content;
}

void ScanTest::SetUp() {
  library::CloseProcessLibraryDatabase();
  fs::remove_all(paths::kStateDir);
  fs::create_directories(paths::kStateDir);
  music_ = fs::path(paths::kPackageRoot) / "test-music";
  fs::remove_all(music_);
  fs::create_directories(music_);
}

void ScanTest::TearDown() { library::CloseProcessLibraryDatabase(); }

sqlite3* ScanTest::Db() { return library::ProcessLibraryDatabase().get(); }

int64_t ScanTest::AddShared(const fs::path& folder) {
  return library::AddSharedFolder(Db(), folder.string()).id;
}

ScanRun ScanTest::Scan(bool full) {
  ScanRun run;
  ScanOptions options;
  options.full = full;
  options.batch_size = 3;  // several batches even in small tests
  run.summary = ScanLibrary(Db(), options, nullptr,
                            [&run](const std::string& path, const std::string& message) {
                              run.problems.push_back(path + ": " + message);
                            });
  return run;
}

std::vector<std::string> ScanTest::Column(const std::string& sql) {
  sqlite::Statement select(Db(), sql);
  std::vector<std::string> values;
  while (select.Step()) values.emplace_back(select.ColumnText(0));
  return values;
}

int64_t ScanTest::Count(const std::string& sql) {
  sqlite::Statement select(Db(), sql);
  return select.Step() ? select.ColumnInt64(0) : -1;
}

}  // namespace Sonvik::scanner::testing
