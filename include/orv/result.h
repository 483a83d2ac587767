#pragma once

#include <cstddef>
#include <cstdint>
#include <string_view>

// The signed 32-bit result of every interface operation: negative is a failure.
// Bit 31 failure, bits 16..30 facility (0 general, 1 platform, 6 raw errno), bits 0..15 code.
using result_t = int32_t;

#define ORV_SUCCEEDED(_result) ((_result) >= 0)
#define ORV_FAILED(_result) ((_result) < 0)

namespace orv {

constexpr result_t MakeResult(uint32_t value) { return static_cast<result_t>(value); }

namespace errors {
constexpr result_t kOk = 0;
constexpr result_t kFalse = 1;
constexpr result_t kNoInterface = MakeResult(0x80000001u);
constexpr result_t kUnexpected = MakeResult(0x80000040u);
constexpr result_t kOutOfMemory = MakeResult(0x80000041u);
constexpr result_t kNotSupported = MakeResult(0x80000042u);
constexpr result_t kNotImplemented = MakeResult(0x80000043u);
constexpr result_t kAccessDenied = MakeResult(0x80000045u);
constexpr result_t kInvalidArgument = MakeResult(0x80000046u);
constexpr result_t kBadCast = MakeResult(0x80000047u);
constexpr result_t kUnspecified = MakeResult(0x8000004bu);
constexpr result_t kNotFound = MakeResult(0x8000004cu);
constexpr result_t kInvalidSize = MakeResult(0x8000005cu);
constexpr result_t kOutOfRange = MakeResult(0x8000005eu);
constexpr result_t kUnknownException = MakeResult(0x80000072u);
constexpr result_t kTraceLevelProhibited = MakeResult(0x8000007au);
constexpr result_t kWrongSettingsType = MakeResult(0x80000103u);
constexpr result_t kSettingsNotFound = MakeResult(0x80000105u);
constexpr result_t kNoCurrentException = MakeResult(0x80000150u);
constexpr result_t kExceptionHasNoResult = MakeResult(0x80000151u);
constexpr result_t kExceptionWithSuccess = MakeResult(0x80000152u);
constexpr result_t kUnspecifiedPlatformError = MakeResult(0x80010100u);
constexpr result_t kSymbolNotFound = MakeResult(0x80010107u);
// Further codes the product returns, named after their texts in GetResultText's tables.
constexpr result_t kBufferTooSmall = MakeResult(0x80000044u);        // "Buffer too small"
constexpr result_t kLocked = MakeResult(0x8000004fu);                // "Locked"
constexpr result_t kMediaError = MakeResult(0x80000059u);            // "Media error"
constexpr result_t kInvalidType = MakeResult(0x8000005du);           // "Invalid type"
constexpr result_t kOutOfSpace = MakeResult(0x80000062u);            // "Out of space"
constexpr result_t kMoreThan = MakeResult(0x80000065u);              // "More than"
constexpr result_t kInvalidState = MakeResult(0x8000006au);          // "Invalid state"
constexpr result_t kFileTooBig = MakeResult(0x80000078u);            // "File is too big"
constexpr result_t kInvalidHandle = MakeResult(0x80010101u);         // "Invalid handle"
constexpr result_t kFileNotFound = MakeResult(0x80010102u);          // "File not found"
constexpr result_t kPathNotFound = MakeResult(0x80010103u);          // "Path not found"
constexpr result_t kAlreadyExists = MakeResult(0x80010105u);         // "Already exists"
constexpr result_t kSystemImageBadFormat = MakeResult(0x80010117u);  // "System image bad format"
// Not in the module's tables: the service manager's "the revision has moved on".
constexpr result_t kRevisionMovedOn = MakeResult(0xa6430004u);
}  // namespace errors

// The text of a result code; "Unknown result code" for anything not in the tables.
std::string_view GetResultText(result_t result) noexcept;

// The result for an operating-system error number.
result_t ResultFromErrno(uint32_t error) noexcept;

}  // namespace orv
