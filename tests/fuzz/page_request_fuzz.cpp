// What a browser, or anybody else on the machine, asks of the page's server: only what the page itself may
// ask is answered, and only what plugs or faults is handed to the simulated card.
#include "poectl/page/page_guard.h"
#include "tests/fuzz/fuzz_target.h"

#include <algorithm>
#include <set>

namespace {

const std::string TOKEN = "0123456789abcdef0123456789abcdef";
const PageGuard GUARD(10002, TOKEN);

// One of those that are right somewhere, or any text.
std::string text(FuzzedDataProvider& data, std::initializer_list<const char*> known) {
  const auto choice = data.ConsumeIntegralInRange<std::size_t>(0, known.size());
  return choice < known.size() ? *(known.begin() + choice) : data.ConsumeRandomLengthString();
}

void checkRequest(FuzzedDataProvider& data) {
  const std::string method = text(data, {"GET", "HEAD", "POST"});
  const std::string path = text(data, {"/", "/events", "/card"});
  const std::string host = text(data, {"127.0.0.1:10002", "localhost:10002", ""});
  const std::string origin = text(data, {"http://127.0.0.1:10002", "http://localhost:10002", ""});
  const std::string token = text(data, {TOKEN.c_str(), ""});
  const std::set<std::string> hosts = {"127.0.0.1:10002", "localhost:10002"};
  const std::set<std::string> origins = {"http://127.0.0.1:10002", "http://localhost:10002"};
  const std::set<std::string> reads = {"GET /", "HEAD /", "GET /events"};
  const bool isRead = reads.count(method + " " + path) == 1 && (origin.empty() || origins.count(origin) == 1);
  const bool isCommand = method == "POST" && path == "/card" && origins.count(origin) == 1 && token == TOKEN;
  const auto refusal = GUARD.refusalOf({method, path, host, origin, token});
  EXPECT_EQ(!refusal, hosts.count(host) == 1 && (isRead || isCommand));
  if (refusal) {
    EXPECT_TRUE(refusal->status >= 400 && refusal->status < 500);
    EXPECT_FALSE(std::string_view(refusal->reason).empty());
  } else {
    EXPECT_TRUE(PageGuard::resourceOf(path)) << "the server relies on it";
  }
}

void checkCommand(FuzzedDataProvider& data) {
  const std::set<std::string> verbs = {"plug",   "unplug",      "draw",        "short",
                                       "fault",  "class-error", "temperature", "thermal",
                                       "supply", "bank",        "power-cycle", "bus"};
  const std::string command =
      text(data, {"plug", "unplug 0", "bus dead", "power-cycle", "load", "reg", "dump"}) +
      data.ConsumeRemainingBytesAsString();
  const bool isPrintable =
      std::all_of(command.begin(), command.end(), [](char byte) { return byte >= 0x20 && byte < 0x7F; });
  const bool isRight =
      command.size() <= 200 && isPrintable && verbs.count(command.substr(0, command.find(' '))) == 1;
  EXPECT_EQ(!cardCommandRefusal(command), isRight);
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t size) {
  FuzzedDataProvider data(bytes, size);
  checkRequest(data);
  checkCommand(data);
  return 0;
}
