# source: platform/host/console/debug_registry.cpp
# scene: registry
# changed lines: 2
# kind: a notify before the wait
/::release/,/^}/{
  /std::lock_guard/i m_released.notify_all();
  /^  m_released.notify_all();/d
}
