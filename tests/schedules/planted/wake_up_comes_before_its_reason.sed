# source: platform/host/watchdog/watchdog_supervisor.cpp
# scene: watchdog
# changed lines: 2
# kind: a notify before the wait
/::remove/,/^}/{
  /std::unique_lock/i m_wake.notify_all();
  /^    m_wake.notify_all();/d
}
