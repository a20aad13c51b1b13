# source: components/PoeDriver/pd69104_engine_configuration.cpp
# scene: recovery
# changed lines: 1
# kind: a lock left out
/::handleConfig/,/^}/{
  /const Guard guard/d
}
