#include "support/nss_test_db.h"

#include <sys/stat.h>
#include <unistd.h>

#include <filesystem>
#include <regex>
#include <sstream>
#include <stdexcept>

#include "cert_stores/nss/nss_context.h"
#include "support/clean_command.h"
#include "support/namespace_sandbox.h"

namespace tti::test {
namespace {

namespace fs = std::filesystem;

void Require(const CommandResult& run, const std::string& what) {
  if (run.exitCode != 0) {
    throw std::runtime_error(what + " failed: " + run.output);
  }
}

// A file with the password for certutil's -f, or the option for the empty one.
std::vector<std::string> PasswordWords(const std::string& directory, const std::string& password) {
  if (password.empty()) {
    return {"--empty-password"};
  }
  const std::string file = directory + "/../tti-password-" + std::to_string(::getpid());
  WriteTextFile(file, password + "\n", 0600);
  return {"-f", file};
}

}  // namespace

ScratchDirectory::ScratchDirectory() {
  if (::chmod(path().c_str(), 0755) != 0) {
    throw std::runtime_error("chmod " + path());
  }
}

std::string ScratchDirectory::MakeFolder(const std::string& relative) const {
  const std::string folder = path() + "/" + relative;
  fs::create_directories(folder);
  return folder;
}

void CreateNssDatabase(const std::string& directory, const std::string& password) {
  fs::create_directories(directory);
  std::vector<std::string> words = {"certutil", "-N", "-d", "sql:" + directory};
  const std::vector<std::string> option = PasswordWords(directory, password);
  words.insert(words.end(), option.begin(), option.end());
  Require(RunClean(words), "certutil -N in " + directory);
}

void CreateUnsetNssDatabase(const std::string& directory) {
  fs::create_directories(directory);
  const qel::tcp_traffic_interceptor::cert_stores::NssContext made(directory + "/", false);
}

void AddWithCertutil(const std::string& directory, const TestCertificate& certificate,
                     const std::string& nickname, const std::string& trust,
                     const std::string& password) {
  const std::string file = directory + "/../tti-import.pem";
  WriteTextFile(file, certificate.Pem());
  std::vector<std::string> words = {
      "certutil", "-A", "-d", "sql:" + directory, "-n", nickname, "-t", trust, "-a", "-i", file};
  if (!password.empty()) {
    const std::vector<std::string> option = PasswordWords(directory, password);
    words.insert(words.end(), option.begin(), option.end());
  }
  Require(RunClean(words), "certutil -A in " + directory);
  fs::remove(file);
}

std::map<std::string, std::string> ListNssDatabase(const std::string& directory) {
  const CommandResult run = RunClean({"certutil", "-L", "-d", "sql:" + directory});
  Require(run, "certutil -L in " + directory);
  // A header of two lines, then "nickname<spaces>trust" with the trust as the last word: the
  // header's second line is that word alone, its first has no commas in its last word.
  static const std::regex kEntry(R"((.*\S)\s+(\S*,\S*,\S*)\s*)");
  std::map<std::string, std::string> entries;
  std::istringstream lines(run.output);
  std::smatch match;
  for (std::string line; std::getline(lines, line);) {
    if (std::regex_match(line, match, kEntry)) {
      entries[match[1]] = match[2];
    }
  }
  return entries;
}

bool NssTrustsServer(const std::string& directory, const TestCertificate& server) {
  const std::string file = directory + "/../tti-server.pem";
  WriteTextFile(file, server.Pem());
  const CommandResult run = RunClean({"vfychain", "-d", "sql:" + directory, "-a", "-u", "1", file});
  fs::remove(file);
  return run.exitCode == 0;
}

std::map<std::string, std::string> FolderBytes(const std::string& directory) {
  std::map<std::string, std::string> files;
  for (const auto& entry : fs::directory_iterator(directory)) {
    if (entry.is_regular_file()) {
      files[entry.path().filename().string()] = ReadTextFile(entry.path().string());
    }
  }
  return files;
}

}  // namespace tti::test
