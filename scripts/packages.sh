# Sourced by the scripts that need Debian packages: installs those that are missing.
#
# Each list has a line for each package: its name, and what it is needed for.

packages_to_run='
g++            the C++ compiler
cmake          the build system
ninja-build    the build tool
pkg-config     finds the libraries
libumockdev-dev the simulated /dev/i2c-0
umockdev       the simulated /dev/i2c-0
libcli11-dev   the command lines of the tools
libtomlplusplus-dev the configuration files of poectl
nlohmann-json3-dev the status of poectl as JSON
libedit-dev    the interactive console
libncurses-dev the live view of poectl
libmicrohttpd-dev the page of poectl
'

packages_to_test='
ccache         builds again in less time
libgtest-dev   the tests
libgmock-dev   the tests
i2c-tools      programs that know nothing of the simulated card
systemd        the check of the unit
groff-base     the check of the manual pages
tmux           a terminal for the tests of poectl on a terminal
strace         ends a program at a system call
iproute2       another machine beside that of the real process
python3        the tests of the documents
python3-jsonschema the schema of the records
gnuplot-nox    the plots of records
snmpd          the agent that asks poectl
snmp           its managers
python3-pysnmp4-mibs the types and ranges of what they get
chromium       the page in a browser
chromium-driver drives the browser
libclang-rt-dev reads the inputs of the fuzz targets
prometheus     the alert rules and the metrics
prometheus-node-exporter serves the published files
'

packages_for_powerpc='
g++-powerpc-linux-gnu the compiler for the card
qemu-user      runs what is built for the card
googletest     the tests, built for the card
'

packages_for_coverage='
clang-19       the compiler that counts conditions
libclang-rt-19-dev writes the counts
llvm-19        reads the counts
'

packages_for_target='
qemu-system-x86 the machine with an x86-64
qemu-system-ppc the machine with a PowerPC
gcc            builds what builds the kernel
make           builds the kernel of the PowerPC
flex           configures the kernel
bison          configures the kernel
bc             computes constants of the kernel
xz-utils       unpacks the sources of the kernel
cpio           packs the file systems of the machines
libelf1        checks a module of the kernel
binutils       finds the libraries that a program needs
'

packages_to_package='
file           the kind of a program
dpkg-dev       the libraries that a package depends on
lintian        the check of the packages
debootstrap    a fresh system to install them on
iproute2       the loopback address of that system
'

packages_to_fuzz='
clang          the compiler that instruments for libFuzzer
libclang-rt-dev libFuzzer and the sanitizers
'

packages_to_check='
clang-format   the format check
clang-tidy     the lint check
python3-clang  the changes of the mutation test
lld            its linker, three times as quick as the usual one
'

packages_to_measure='
valgrind       counts instructions and allocations
chromium-driver draws the page in a browser
pngquant       makes the picture of the page small
bsdextrautils  shows the tables
'

fail() {
  echo "${0##*/}: $*" >&2
  exit 1
}

# need_root WHAT: sets as_root to what a command of root's begins with, or says what somebody else has to do.
need_root() {
  as_root=()
  [ "$(id -u)" -eq 0 ] && return
  command -v sudo >/dev/null || fail "not root and no sudo; $1"
  as_root=(sudo)
}

# update_package_lists: apt-get update, as root or through sudo.
update_package_lists() {
  local as_root
  need_root "apt-get update is needed first"
  "${as_root[@]}" apt-get update >/dev/null 2>&1 </dev/null || fail "apt-get update fails (is there a network?)"
}

# install_packages LIST...: installs what is missing, as root or through sudo.
install_packages() {
  local missing=() line name why
  while read -r name why; do
    [ -n "$name" ] || continue
    if ! dpkg-query -W -f='${db:Status-Status}' "$name" 2>/dev/null | grep -qx installed; then
      missing+=("$name")
      line+="  $name - $why"$'\n'
    fi
  done <<<"$(printf '%s\n' "$@")"
  [ ${#missing[@]} -eq 0 ] && return

  command -v apt-get >/dev/null || fail "these Debian packages are missing and there is no apt-get to install them: ${missing[*]}"
  local as_root
  need_root "install these packages first: apt-get install ${missing[*]}"
  printf '%s: installing packages that are missing:\n%s' "${0##*/}" "$line" >&2
  local log
  log=$(mktemp)
  if ! { "${as_root[@]}" apt-get update &&
    "${as_root[@]}" env DEBIAN_FRONTEND=noninteractive apt-get install -y --no-install-recommends "${missing[@]}"; } >"$log" 2>&1 </dev/null; then
    tail -n 5 "$log" >&2
    fail "cannot install ${missing[*]} (the whole output is in $log)"
  fi
  rm -f "$log"
}
