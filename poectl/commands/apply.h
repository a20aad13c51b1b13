// How the commands send a configuration.
#pragma once

#include "poectl/service/queue.h"

// Throws QueueError also when the queue is left over from a service that was killed.
void applyConfig(const PoeConfig& config, const SendWait& wait = {});

// Says on standard error that a main process runs, which undoes what was sent; nothing when there is none.
void printMainProcessNote();
