# source: components/PoeDriver/pd69104_engine.cpp
# scene: construction
# changed lines: 3
# kind: a lock left out
s/: CPD69104Engine(Guard(&m_mutex)) {}/: CPD69104Engine(Guard(\&otherMutex)) {}/
/^pthread_mutex_t CPD69104Engine::m_mutex/i static pthread_mutex_t otherMutex = PTHREAD_RECURSIVE_MUTEX_INITIALIZER_NP;
