#pragma once

#include <sys/types.h>

#include <string>

// Tools for programs that build a throwaway machine in a private mount namespace (the demo, the
// tests, the benchmarks): nothing they mount reaches the rest of the machine. Every function
// throws std::runtime_error with the failing step and errno's text.
namespace host::sandbox {

// Enters a private mount namespace in this process: unshare, then / private recursively.
void EnterPrivateMountNamespace();

// Inside the namespace only: tmpfs over /opt, then the build's staged product tree
// ($TTI_BINARY_DIR/opt/morvane/tolm) bound read-only at /opt/morvane/tolm.
void MountProductTree();

void MountTmpfs(const std::string& path);
// Binds `source` at `target`, read-only.
void BindReadOnly(const std::string& source, const std::string& target);
// Binds a path onto itself read-only: writes fail with EROFS even for root.
void MakeReadOnly(const std::string& path);
// mkdir -p with mode 0755.
void MakeDirectories(const std::string& path);
void WriteTextFile(const std::string& path, const std::string& text, mode_t mode = 0644);
std::string ReadTextFile(const std::string& path);

// Throws "`what`: <errno text>" unless `result` is 0.
void Check(int result, const std::string& what);
[[noreturn]] void Fail(const std::string& what);

}  // namespace host::sandbox
