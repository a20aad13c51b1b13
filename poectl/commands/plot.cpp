#include "poectl/command_line.h"
#include "poectl/host/note.h"
#include "poectl/record/gnuplot.h"
#include "poectl/record/plot_data.h"
#include "poectl/record/plot_script.h"
#include "poectl/record/record_reader.h"

#include <cerrno>
#include <chrono>
#include <cstdio>
#include <cstring>
#include <memory>
#include <sys/stat.h>

namespace {

constexpr std::chrono::seconds GNUPLOT_LIMIT{60};

struct PlotOptions {
  std::string file;
  std::string out; // empty: standard output
  bool skipDamaged = false;
};

struct CloseFile {
  void operator()(std::FILE* file) const { std::fclose(file); }
};

bool isSameFile(const std::string& one, const std::string& other) {
  struct stat first {};
  struct stat second {};
  return stat(one.c_str(), &first) == 0 && stat(other.c_str(), &second) == 0 &&
         first.st_dev == second.st_dev && first.st_ino == second.st_ino;
}

void writePicture(const std::string& path, const std::string& picture) {
  if (path.empty()) {
    std::fputs(picture.c_str(), stdout); // the command's end checks that it arrives
    return;
  }
  std::unique_ptr<std::FILE, CloseFile> file(std::fopen(path.c_str(), "we"));
  if (!file || std::fputs(picture.c_str(), file.get()) < 0 || std::fflush(file.get()) != 0) {
    throw GnuplotError("cannot write " + path + ": " + std::strerror(errno));
  }
}

int plot(const PlotOptions& options) {
  if (isSameFile(options.file, options.out)) {
    throw UsageError("--out names the record itself; accepted is another file");
  }
  RecordReader reader(options.file, options.skipDamaged ? printNote : RecordReader::Warn());
  PlotData data;
  std::string damage;
  try {
    while (const auto record = reader.next()) {
      data.add(record->snapshot);
    }
  } catch (const InputError& error) {
    damage = error.what();
  }
  if (data.records() > 0) {
    const std::string title = options.file.substr(options.file.rfind('/') + 1);
    writePicture(options.out, runGnuplot(plotScript(data, title), GNUPLOT_LIMIT));
  } else if (damage.empty()) {
    damage = options.file + ": has no record to draw";
  }
  if (!damage.empty()) {
    throw InputError(damage);
  }
  return 0;
}

} // namespace

Action plotCommand(CommandSyntax& syntax) {
  const auto options = std::make_shared<PlotOptions>();
  syntax.file(options->file);
  syntax.text("--out", options->out);
  syntax.flag("--skip-damaged", options->skipDamaged);
  return [options] { return plot(*options); };
}
