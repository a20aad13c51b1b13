# source: platform/host/watchdog/watchdog_supervisor.cpp
# scene: watchdog
# changed lines: 3
# kind: a flag read once too early
/::run(/,/^}/{
  /std::unique_lock/i bool goesOn = m_generation == generation;
  s/while (m_generation == generation) {/for (; goesOn; goesOn = m_generation == generation) {/
}
