// The page as the build puts it together from page.html, page.css and page.js.
#pragma once

#include <cstddef>

extern const char PAGE_TEXT[]; // UTF-8
extern const std::size_t PAGE_SIZE;
// What the browser may do with it: run this script and use this style, and connect to where it comes from.
extern const char PAGE_POLICY[];
