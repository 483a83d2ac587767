#include <algorithm>
#include <iterator>

#include "orv/result.h"

namespace orv {
namespace {

struct ResultText {
  uint32_t value;
  std::string_view text;
};

// Facility 0, sorted by value.
constexpr ResultText kGeneral[] = {
    {0x00000000, "No error"},
    {0x00000001, "False"},
    {0x80000001, "Interface not supported"},
    {0x80000040, "Unexpected"},
    {0x80000041, "Out of memory"},
    {0x80000042, "Not supported"},
    {0x80000043, "Not implemented"},
    {0x80000044, "Buffer too small"},
    {0x80000045, "Access denied"},
    {0x80000046, "Invalid argument"},
    {0x80000047, "Bad cast"},
    {0x8000004a, "Not matched"},
    {0x8000004b, "Unspecified error"},
    {0x8000004c, "Not found"},
    {0x8000004d, "Found"},
    {0x8000004f, "Locked"},
    {0x80000050, "Not locked"},
    {0x80000051, "Operation cancelled"},
    {0x80000057, "Method not found"},
    {0x80000058, "Stack is empty"},
    {0x80000059, "Media error"},
    {0x8000005a, "Invalid signature"},
    {0x8000005b, "Invalid version"},
    {0x8000005c, "Invalid size"},
    {0x8000005d, "Invalid type"},
    {0x8000005e, "Out of range"},
    {0x80000062, "Out of space"},
    {0x80000063, "Not ready"},
    {0x80000064, "Less than"},
    {0x80000065, "More than"},
    {0x80000066, "Prohibited"},
    {0x80000067, "Already done"},
    {0x80000068, "Need reboot"},
    {0x80000069, "Bases corrupted"},
    {0x8000006a, "Invalid state"},
    {0x8000006b, "Not initialized"},
    {0x8000006c, "Insufficient resources"},
    {0x80000071, "Invalid result"},
    {0x80000072, "Unknown exception"},
    {0x80000076, "Meta information not found"},
    {0x80000077, "Numerical type overflow"},
    {0x80000078, "File is too big"},
    {0x80000079, "Trace level ok"},
    {0x8000007a, "Trace level prohibited"},
    {0x80000100, "Class not found"},
    {0x80000101, "Settings are required"},
    {0x80000102, "Unexpected settings"},
    {0x80000103, "Wrong settings type"},
    {0x80000104, "Wrong settings revision"},
    {0x80000105, "Settings not found"},
    {0x80000106, "Object is untrusted"},
    {0x80000150, "No current exception"},
    {0x80000151, "Exception has no result code"},
    {0x80000152, "Exception with successful result code"},
    {0x80000180, "Property not found"},
    {0x80000221, "Operation timeout"},
    {0x80000300, "Invalid symbol"},
    {0x80000301, "Non dec symbol"},
    {0x80000302, "Non hex symbol"},
    {0x80000303, "Non base64 symbol"},
    {0x80000310, "Syntax error"},
    {0x80000311, "GUID syntax error"},
    {0x80000312, "OID syntax error"},
    {0x80000313, "DateTime syntax error"},
};

// Facility 1, sorted; the gap from 0x8001010a to 0x8001010f is deliberate.
constexpr ResultText kPlatform[] = {
    {0x80010100, "Unspecified platform error"},
    {0x80010101, "Invalid handle"},
    {0x80010102, "File not found"},
    {0x80010103, "Path not found"},
    {0x80010104, "Sharing violation"},
    {0x80010105, "Already exists"},
    {0x80010106, "Wait abandoned"},
    {0x80010107, "Symbol not found"},
    {0x80010108, "Sxs is incorrect"},
    {0x80010109, "Invalid path name"},
    {0x80010110, "Cannot open an anonymous level security token"},
    {0x80010111, "Password is invalid"},
    {0x80010112, "Module not found"},
    {0x80010113, "System image bad signature"},
    {0x80010114, "Cloud file request aborted"},
    {0x80010115, "Memory mapping failed"},
    {0x80010116, "Network error"},
    {0x80010117, "System image bad format"},
    {0x80010118, "System shutdown in progress"},
};

constexpr std::string_view kUnknown = "Unknown result code";

template <size_t N>
std::string_view Find(const ResultText (&table)[N], uint32_t value) noexcept {
  const auto* found =
      std::lower_bound(std::begin(table), std::end(table), value,
                       [](const ResultText& row, uint32_t v) { return row.value < v; });
  return found != std::end(table) && found->value == value ? found->text : kUnknown;
}

}  // namespace

std::string_view GetResultText(result_t result) noexcept {
  const auto value = static_cast<uint32_t>(result);
  switch ((value >> 16) & 0x7fff) {
    case 0:
      return Find(kGeneral, value);
    case 1:
      return Find(kPlatform, value);
    default:
      return kUnknown;
  }
}

}  // namespace orv
