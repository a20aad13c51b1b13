#include "poectl/command_line.h"
#include "poectl/page/page_options.h"

#include <cerrno>
#include <cstring>
#include <filesystem>
#include <memory>
#include <optional>
#include <unistd.h>

namespace {

constexpr char PROGRAM[] = "poectl-page";

// Beside the folder of this program, as both are built and installed.
std::string programPath() {
  const std::filesystem::path self = std::filesystem::read_symlink("/proc/self/exe");
  return (self.parent_path().parent_path() / "libexec" / "poe-tools" / PROGRAM).string();
}

// Becomes the program of the page.
int serve(const PageOptions& options) {
  const std::string path = programPath();
  std::vector<std::string> arguments = pageArguments(options);
  std::vector<char*> words;
  std::string name = PROGRAM;
  words.push_back(name.data());
  for (std::string& argument : arguments) {
    words.push_back(argument.data());
  }
  words.push_back(nullptr);
  execv(path.c_str(), words.data());
  throw std::runtime_error("cannot start " + path + ": " + std::strerror(errno) +
                           (errno == ENOENT ? "; the Debian package poe-page has it" : ""));
}

} // namespace

Action serveCommand(CommandSyntax& syntax) {
  const auto options = std::make_shared<PageOptions>();
  const auto port = std::make_shared<std::optional<unsigned long>>();
  syntax.number("--port", *port, 0, MAX_PAGE_PORT);
  placeSourceOptions(syntax, options->source);
  syntax.text("--control", options->cardControl);
  return [options, port] {
    options->port = port->value_or(DEFAULT_PAGE_PORT);
    return serve(*options);
  };
}
