// Modules of the machine's kernel. A failure is a failed test.
#pragma once

// Loads a file with parameters, "" for none.
void insertModule(const char* file, const char* parameters);
// `name` has underscores where the file has hyphens.
void removeModule(const char* name);
