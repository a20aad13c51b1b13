# source: platform/host/console/debug_registry.cpp
# scene: registry
# changed lines: 4
# kind: a wait left out
/::remove/,/^}/{
  /m_released.wait(lock/,/});/d
}
