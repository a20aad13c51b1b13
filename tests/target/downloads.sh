# Sourced by the target tests: Debian packages that are downloaded and unpacked, not installed.

# Where kernels and downloaded packages are kept between runs.
target_cache=${POE_TARGET_CACHE:-${XDG_CACHE_HOME:-${HOME:-/var/tmp}/.cache}/poe-service/target}

# The sources of both kernels.
kernel_source_package=linux-source-6.1

# package_version NAME: the version that would be downloaded. Updates the package lists once when they do not know it.
package_version() {
  local version
  version=$(apt-cache show --no-all-versions "$1" 2>/dev/null | sed -n 's/^Version: //p')
  if [ -z "$version" ]; then
    update_package_lists
    version=$(apt-cache show --no-all-versions "$1" 2>/dev/null | sed -n 's/^Version: //p')
  fi
  [ -n "$version" ] || fail "no package $1: apt-get update has not found it (is there a network?)"
  printf '%s\n' "$version"
}

# unpack_package NAME DIRECTORY: downloads the package and unpacks it.
unpack_package() {
  local name=$1 directory=$2 download
  download=$(mktemp -d)
  chmod 755 "$download"
  if ! (cd "$download" && apt-get download "$name") >"$download/log" 2>&1; then
    # The lists may be older than what the mirror holds.
    update_package_lists
    (cd "$download" && apt-get download "$name") >"$download/log" 2>&1 ||
      fail "cannot download the package $name: $(tail -n 1 "$download/log")"
  fi
  mkdir -p "$directory"
  dpkg-deb -x "$download"/*.deb "$directory" || fail "cannot unpack the package $name"
  rm -rf "$download"
}

# keep DIRECTORY PLACE: moves the directory to its place in the cache. It appears there whole or not at all, and one that
# another run has put there in the meantime stays.
keep() {
  mv -T "$1" "$2" 2>/dev/null || [ -d "$2" ]
}
