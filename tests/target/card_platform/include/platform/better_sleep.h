#pragma once

void BetterSleep(double seconds);
