#include "poectl/config/config_file.h"

#include "components/PoeDriver/power_limits.h"
#include "text/text.h"

#include <algorithm>
#include <optional>
#include <toml++/toml.h>
#include <vector>

namespace {

struct Key {
  const char* name;
  bool isFlag;  // true or false, as 1 or 0
  bool mayMiss; // stands for 0 then
  std::int64_t least;
  std::int64_t most;
  const char* accepted;
};

constexpr char WATTS[] = "a whole number from 0 to 4294967295 (W) is accepted";

constexpr Key BANK_KEYS[] = {
    {"bank0", false, false, 0, 4294967295, WATTS}, {"bank1", false, true, 0, 4294967295, WATTS},
    {"bank2", false, true, 0, 4294967295, WATTS},  {"bank3", false, true, 0, 4294967295, WATTS},
    {"bank4", false, true, 0, 4294967295, WATTS},  {"bank5", false, true, 0, 4294967295, WATTS},
    {"bank6", false, true, 0, 4294967295, WATTS},  {"bank7", false, true, 0, 4294967295, WATTS},
};

constexpr Key PORT_KEYS[] = {
    {"enable", true, false, 0, 1, "true or false is accepted"},
    {"priority", false, false, 1, 3, "a whole number from 1 to 3 is accepted"},
    {"limit", false, false, 0, MAX_PORT_LIMIT_MW,
     "a whole number from 0 to 40000 (mW; 0 means 40000) is accepted"},
};

constexpr char ROOT_ACCEPTED[] = "[banks] and [port.0] to [port.3] are accepted";
constexpr char BANKS_ACCEPTED[] = "bank0 to bank7 are accepted";
constexpr char PORTS_ACCEPTED[] = "[port.0] to [port.3] are accepted";
constexpr char PORT_ACCEPTED[] = "enable, priority, limit and name are accepted";
constexpr char NAME_KEY[] = "name";
const std::string NAME_ACCEPTED =
    "a text of 1 to " + std::to_string(MAX_PORT_NAME) + " printable characters is accepted";

class Reader {
public:
  explicit Reader(std::string name) : m_name(std::move(name)) {}

  ConfigFile read(const std::string& text) const {
    toml::table root;
    try {
      root = toml::parse(text, m_name);
    } catch (const toml::parse_error& error) {
      fail(error.source(), std::string(error.description()),
           "a TOML file as 'poectl example' prints is accepted");
    }
    refuseOthers(root, {"banks", "port"}, ROOT_ACCEPTED);
    ConfigFile file{};
    const toml::table& banks = table(root, "banks", "[banks]", ROOT_ACCEPTED);
    refuseOthers(banks, names(BANK_KEYS), BANKS_ACCEPTED);
    for (unsigned bank = 0; bank < POE_BANKS; bank++) {
      file.config.bankPowerLimit[bank] = value(banks, "[banks]", BANK_KEYS[bank]);
    }
    const toml::table& ports = table(root, "port", "[port.0]", PORTS_ACCEPTED);
    refuseOthers(ports, {"0", "1", "2", "3"}, PORTS_ACCEPTED);
    for (unsigned port = 0; port < POE_PORTS; port++) {
      readPort(ports, port, file);
    }
    return file;
  }

private:
  using Names = std::vector<std::string_view>;

  void readPort(const toml::table& ports, unsigned number, ConfigFile& file) const {
    const std::string heading = "[port." + std::to_string(number) + "]";
    const toml::table& port = table(ports, std::to_string(number), heading, PORTS_ACCEPTED);
    Names known = names(PORT_KEYS);
    known.emplace_back(NAME_KEY);
    refuseOthers(port, known, PORT_ACCEPTED);
    PoePortConfig& config = file.config.port[number];
    config.adminEnable = static_cast<std::uint8_t>(value(port, heading, PORT_KEYS[0]));
    config.priority = value(port, heading, PORT_KEYS[1]);
    config.powerLimit = value(port, heading, PORT_KEYS[2]);
    file.names[number] = nameOf(port);
    file.places[number] = {placeOf(port, PORT_KEYS[0]), placeOf(port, PORT_KEYS[1]),
                           placeOf(port, PORT_KEYS[2])};
  }

  std::string nameOf(const toml::table& port) const {
    const toml::node* node = port.get(NAME_KEY);
    if (node == nullptr) {
      return "";
    }
    const std::optional<std::string> name = node->value_exact<std::string>();
    if (!name) {
      fail(node->source(), "'name' is of the wrong type", NAME_ACCEPTED);
    }
    if (!isPortName(*name)) {
      fail(node->source(), "'name' is empty, too long or not printable", NAME_ACCEPTED);
    }
    return *name;
  }

  static ValuePlace placeOf(const toml::table& port, const Key& key) {
    const toml::source_region& region = port.at(key.name).source(); // value() has found it
    return {region.begin.line, region.begin.column, region.end.column};
  }

  template <std::size_t size>
  static Names names(const Key (&keys)[size]) {
    Names names;
    for (const Key& key : keys) {
      names.emplace_back(key.name);
    }
    return names;
  }

  void refuseOthers(const toml::table& table, const Names& known, const char* accepted) const {
    for (const auto& [key, node] : table) {
      if (std::find(known.begin(), known.end(), key.str()) == known.end()) {
        fail(key.source(), "unknown key " + text::quoted(key.str()), accepted);
      }
    }
  }

  const toml::table& table(const toml::table& parent, std::string_view key, const std::string& heading,
                           const char* accepted) const {
    const toml::node* node = parent.get(key);
    if (node == nullptr) {
      fail(parent.source(), heading + " is missing", accepted);
    }
    if (!node->is_table()) {
      fail(node->source(), text::quoted(key) + " is not a table", accepted);
    }
    return *node->as_table();
  }

  std::uint32_t value(const toml::table& table, const std::string& heading, const Key& key) const {
    const toml::node* node = table.get(key.name);
    if (node == nullptr) {
      if (key.mayMiss) {
        return 0;
      }
      fail(table.source(), text::quoted(key.name) + " is missing in " + heading, key.accepted);
    }
    const std::optional<std::int64_t> number = numberOf(*node, key);
    if (!number) {
      fail(node->source(), text::quoted(key.name) + " is of the wrong type", key.accepted);
    }
    if (*number < key.least || *number > key.most) {
      fail(node->source(), text::quoted(key.name) + " is out of range: " + std::to_string(*number),
           key.accepted);
    }
    return static_cast<std::uint32_t>(*number);
  }

  // Nothing for a value of another type than the key's.
  static std::optional<std::int64_t> numberOf(const toml::node& node, const Key& key) {
    if (!key.isFlag) {
      return node.value_exact<std::int64_t>();
    }
    const std::optional<bool> flag = node.value_exact<bool>();
    return flag ? std::optional<std::int64_t>(*flag ? 1 : 0) : std::nullopt;
  }

  // What comes from the file is shown without control characters, so that the error stays one line.
  [[noreturn]] void fail(const toml::source_region& where, std::string what,
                         const std::string& accepted) const {
    std::replace_if(
        what.begin(), what.end(), [](char c) { return static_cast<unsigned char>(c) < ' ' || c == '\x7f'; },
        '?');
    const std::string line = std::to_string(std::max(where.begin.line, toml::source_index{1}));
    const std::string column = std::to_string(std::max(where.begin.column, toml::source_index{1}));
    throw ConfigError(m_name + ":" + line + ":" + column + ": " + what + "; " + accepted);
  }

  const std::string m_name;
};

} // namespace

ConfigFile parseConfigFile(const std::string& text, const std::string& name) {
  return Reader(name).read(text);
}

ConfigFile readConfigFile(const std::string& path) {
  return parseConfigFile(readInput(path), inputName(path));
}

PoeConfig parseConfig(const std::string& text, const std::string& name) {
  return parseConfigFile(text, name).config;
}

PoeConfig readConfig(const std::string& path) {
  return readConfigFile(path).config;
}
