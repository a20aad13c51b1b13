# source: platform/host/watchdog/watchdog_supervisor.cpp
# scene: watchdog
# changed lines: 1
# kind: a notify left out
/::start(/,/^}/{
  /m_wake.notify_all/d
}
