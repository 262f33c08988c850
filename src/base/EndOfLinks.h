// base/EndOfLinks.h — the file that a chain of symbolic links leads to.
#pragma once
#include <string>

/// The end of a chain of links, whether there is a file or not; `path` itself if the chain has no end. Any
/// thread.
std::string endOfLinks(const std::string& path);
