#pragma once

#include <string>
#include <vector>

namespace host {

// One entry of a directory: its name and whether it is a directory itself (a link never is).
struct DirectoryEntry {
  std::string name;
  bool directory = false;
};

// The entries of the directory at `path` but "." and ".."; empty when it cannot be opened (gone,
// not a directory, or, with `followLink` false, a link).
std::vector<DirectoryEntry> ListDirectory(const std::string& path, bool followLink);

// stat (following links) says `path` is a directory.
bool IsDirectory(const std::string& path);

}  // namespace host
