// What "poectl serve" hands over to the program of the page, poectl-page.
#pragma once

#include "poectl/feed/source_options.h"

#include <string>
#include <vector>

constexpr unsigned long DEFAULT_PAGE_PORT = 10002; // beside the console's
constexpr unsigned long MAX_PAGE_PORT = 65535;

struct PageOptions {
  SourceOptions source;
  unsigned long port = DEFAULT_PAGE_PORT; // 0: any that is free
  std::string cardControl;                // the simulated card's socket; empty for the default
};

// The arguments of poectl-page.
std::vector<std::string> pageArguments(const PageOptions& options);

// The options of such arguments. Throws UsageError for any others.
PageOptions pageOptions(const std::vector<std::string>& arguments);
