// poectl: configures, watches and diagnoses the service, and plays the main process, for a person or a
// script.
//
// Exit status: 0 when the command did its work, 1 when it could not (one line on standard error says why), 2
// for a command line or a file that is not understood.
#include "poectl/card/card_client.h"
#include "poectl/command_line.h"
#include "poectl/complete.h"
#include "poectl/config/audit_text.h"
#include "poectl/config/input_file.h"
#include "poectl/console/console_client.h"
#include "poectl/host/note.h"

#include <string>
#include <vector>

namespace {

constexpr int FAILED = 1;
constexpr int BAD_INPUT = 2;

int fail(const std::exception& error, int status) {
  printNote(error.what());
  return status;
}

} // namespace

int main(int argc, char** argv) {
  try {
    const std::vector<std::string> words(argv + (argc > 0 ? 1 : 0), argv + argc);
    return words.size() > 2 && words[0] == COMPLETE && words[1] == "--" // for the shell, and in no help
               ? complete({words.begin() + 2, words.end()})
               : runCommandLine(words);
  } catch (const InputError& error) {
    return fail(error, BAD_INPUT);
  } catch (const UsageError& error) {
    return fail(error, BAD_INPUT);
  } catch (const PortStateError& error) {
    return fail(error, BAD_INPUT);
  } catch (const CardRefusal& error) {
    return fail(error, BAD_INPUT);
  } catch (const ConsoleInputError& error) {
    return fail(error, BAD_INPUT);
  } catch (const std::exception& error) { // QueueError, ConsoleError, CardError
    return fail(error, FAILED);
  }
}
