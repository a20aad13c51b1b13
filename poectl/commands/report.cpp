#include "poectl/command_line.h"
#include "poectl/config/port_names.h"
#include "poectl/host/note.h"
#include "poectl/report/card_report.h"
#include "poectl/report/new_file.h"

#include <algorithm>
#include <cstdio>
#include <memory>

namespace {

struct ReportOptions {
  std::string out;
  std::string log;
  std::string file;
  bool noBus = false;
};

int report(const ReportOptions& options) {
  LookOptions look;
  look.log = options.log;
  look.names = portNames(options.file);
  look.bus = options.noBus ? BusUse::NEVER : BusUse::UNLESS_FAILING;
  if (!options.out.empty()) {
    requireNewFile(options.out); // before anything is asked
  }
  const CardReport report = makeCardReport(look, printNote);
  if (options.out.empty()) {
    std::fputs(report.text.c_str(), stdout);
    return 0;
  }
  writeNewFile(options.out, report.text);
  const auto gaps = std::count(report.gaps.begin(), report.gaps.end(), '\n');
  std::printf("wrote %s: %zu bytes; %ld things were not available, its last section lists them\n",
              options.out.c_str(), report.text.size(), static_cast<long>(gaps));
  return 0;
}

} // namespace

Action reportCommand(CommandSyntax& syntax) {
  const auto options = std::make_shared<ReportOptions>();
  syntax.text("--out", options->out);
  syntax.text("--log", options->log);
  syntax.text("--file", options->file);
  syntax.flag("--no-bus", options->noBus);
  return [options] { return report(*options); };
}
