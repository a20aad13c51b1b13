# Sourced by benchmarks/measure: what the objects of the service take in the card's memory.

# object_sizes FILE...: object,bytes of its text and constants.
object_sizes() {
  powerpc-linux-gnu-size "$@" | awk '$1 ~ /^[0-9]+$/ { sub(/.*\//, "", $6); sub(/\.cpp\.o$/, "", $6); print $6 "," $1 }'
}

measure_size() {
  local folder=build/powerpc service
  install_packages "$packages_for_powerpc"
  build powerpc poe_service
  service=$(object_sizes "$folder"/components/PoeDriver/*.a "$folder"/components/PoeDriver/CMakeFiles/poe_service.dir/main.cpp.o)
  {
    echo "object,text (bytes)"
    awk -F, '{ sum += $2 } END { print "components/PoeDriver," sum }' <<<"$service"
    { echo "$service" && object_sizes "$folder/platform/host/libpoe_platform.a"; } | sort -t, -k2,2nr
  } >"$results/size.csv"
}

judge_size() {
  awk -F, '$1 == "components/PoeDriver" && $2 > 28672 { print "components/PoeDriver takes " $2 " bytes"; exit 1 }' \
    "$results/size.csv" >&2 || fail "the service is larger than it may be"
}
