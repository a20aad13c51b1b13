# source: components/PoeDriver/pd69104_engine.cpp
# scene: service
# changed lines: 2
# kind: order exchanged
/::start()/,/^}/{
  /m_running = true;/d
  /m_thread = thread;/a m_running = true;
}
