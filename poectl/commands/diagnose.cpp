#include "poectl/command_line.h"
#include "poectl/config/input_file.h"
#include "poectl/config/port_names.h"
#include "poectl/diagnose/diagnosis_text.h"
#include "poectl/diagnose/look_at_card.h"
#include "poectl/diagnose/verdicts.h"
#include "poectl/host/note.h"

#include <cstdio>
#include <memory>

namespace {

struct DiagnoseOptions {
  std::string log;
  std::string file;
  bool bus = false;
  bool noBus = false;
};

// A wrong name is refused before anything is asked.
void requireLog(const std::string& path) {
  try {
    const LogTail log(path);
  } catch (const LogError& error) {
    throw InputError(error.what());
  }
}

int diagnose(const DiagnoseOptions& options) {
  LookOptions look;
  look.log = options.log;
  look.names = portNames(options.file);
  if (!options.log.empty()) {
    requireLog(options.log);
  }
  look.bus = options.bus ? BusUse::ALWAYS : options.noBus ? BusUse::NEVER : BusUse::UNLESS_FAILING;
  const CardLooks looks = lookAtCard(look, printNote);
  std::fputs(diagnosisText(looks).c_str(), stdout);
  return verdictsOn(looks).empty() ? 0 : 1;
}

} // namespace

Action diagnoseCommand(CommandSyntax& syntax) {
  const auto options = std::make_shared<DiagnoseOptions>();
  syntax.text("--log", options->log);
  syntax.text("--file", options->file);
  syntax.flag("--bus", options->bus);
  syntax.flag("--no-bus", options->noBus);
  syntax.exclude("--bus", "--no-bus");
  return [options] { return diagnose(*options); };
}
