#include "poectl/config/example_config.h"

#include "poectl/config/config_file.h"

const char EXAMPLE_FILE[] =
    R"(# A configuration of the PoE service: 'poectl check FILE' explains it, 'poectl apply FILE' sends it.

# The power in W that all ports together may take while the card selects that bank. bank0 must be here;
# bank1 to bank7 are 0 unless they are given. The chip gets at most 161. bank7 must stay 0.
[banks]
bank0 = 100

# All four ports must be here, each with all three keys:
#   enable    true or false
#   priority  1 to 3; 1 is served first
#   limit     0 to 40000 mW; 0 means 40000
# A name, 1 to 24 printable characters, is shown with the port; it is not sent.
[port.0]
# name = "camera"
enable = true
priority = 1
limit = 15000

[port.1]
enable = true
priority = 2
limit = 30000

[port.2]
enable = true
priority = 3
limit = 15000

[port.3]
enable = false
priority = 3
limit = 0
)";

PoeConfig exampleConfig() {
  return parseConfig(EXAMPLE_FILE, "example");
}
