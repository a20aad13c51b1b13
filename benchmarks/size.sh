# Sourced by benchmarks/measure: what the objects of the service take in the card's memory.

measure_size() {
  install_packages "$packages_for_powerpc"
  build powerpc poe_driver poe_platform
  {
    echo "object,text (bytes)"
    powerpc-linux-gnu-size build/powerpc/components/PoeDriver/libpoe_driver.a build/powerpc/platform/host/libpoe_platform.a |
      awk '$1 ~ /^[0-9]+$/ { sub(/\.cpp\.o$/, "", $6); print $6 "," $1 }' | sort -t, -k2,2nr
  } >"$results/size.csv"
}
