# source: platform/host/console/debug_server.cpp
# scene: console
# changed lines: 2
# kind: order exchanged
/Server::launch/,/^}/{
  /m_stopping = false;/d
  /m_thread = std::thread/a m_stopping = false;
}
