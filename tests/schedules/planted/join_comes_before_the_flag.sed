# source: components/PoeDriver/pd69104_engine.cpp
# scene: restart
# changed lines: 2
# kind: order exchanged
/::stop()/,/^}/{
  /m_running = false;/d
  /m_thread = 0;/i m_running = false;
}
