// What the runs consist of: parts of the service, and those who use them.
#pragma once

// How much is tried of a scene.
struct Extent {
  unsigned preemptions;
  unsigned randomRuns;
};

struct Scene {
  const char* name;
  void (*body)();
  // Where a thread waits, the choice of the next one counts as a preemption, too.
  bool countsEveryChange;
  Extent inShort;
  Extent inFull;
};

// Ends with one that has no name.
extern const Scene SCENES[];
