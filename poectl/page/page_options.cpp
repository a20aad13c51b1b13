#include "poectl/page/page_options.h"

#include "text/number.h"
#include "text/text.h"

namespace {

enum Place { PORT, FROM, EVERY, NO_BUS, FILE_WITH_NAMES, CARD_CONTROL, PLACES };

constexpr char YES[] = "yes";

} // namespace

std::vector<std::string> pageArguments(const PageOptions& options) {
  return {std::to_string(options.port),    options.source.from, text::formatted("%f", options.source.every),
          options.source.noBus ? YES : "", options.source.file, options.cardControl};
}

PageOptions pageOptions(const std::vector<std::string>& arguments) {
  const bool isComplete = arguments.size() == PLACES;
  const auto port = text::numberFrom<unsigned long>(isComplete ? arguments[PORT] : "");
  const auto every = text::numberFrom<double>(isComplete ? arguments[EVERY] : "");
  if (!port || *port > MAX_PAGE_PORT || !every) {
    throw UsageError("the program of the page is started by 'poectl serve'");
  }
  PageOptions options;
  options.port = *port;
  options.source = {arguments[FROM], *every, arguments[NO_BUS] == YES, arguments[FILE_WITH_NAMES]};
  options.cardControl = arguments[CARD_CONTROL];
  return options;
}
