# source: platform/host/watchdog/watchdog_supervisor.cpp
# scene: watchdog
# changed lines: 3
# kind: a flag read once too early
/::start(/,/^}/{
  /std::unique_lock/i const bool isIdle = !m_thread.joinable();
  s/if (!m_thread.joinable())/if (isIdle)/
}
