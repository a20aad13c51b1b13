# source: platform/host/watchdog/watchdog_supervisor.cpp
# scene: watchdog
# changed lines: 1
# kind: a wait left out
/::log(/,/^}/{
  /m_turnChanged.wait/d
}
