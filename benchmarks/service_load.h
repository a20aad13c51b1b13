// How the service keeps its time when others ask it, for service_timing. Both print lines of a table.
#pragma once

// How late `count` cycles begin beside busy console clients, and how late a bare thread wakes.
void measureLoad(unsigned count);

// When the transfers of a cycle, of a command and of a configuration are made.
void measureLine();
