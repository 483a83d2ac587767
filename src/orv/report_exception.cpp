#include "orv/report_exception.h"

#include <exception>
#include <new>
#include <stdexcept>
#include <typeinfo>

#include "orv/exception.h"
#include "orv/trace_stream.h"
#include "text_conversion.h"

namespace orv {
namespace {

void WriteDescription(TraceStream* stream, const Exception& error) {
  if (!stream) {
    return;
  }
  const types::string16_t description = error.GetDescription();
  *stream << Utf16ToUtf8(description.view()) << ". At " << error.file() << '(' << error.line()
          << ") ";
}

// Classifies one exception, writes its text and gives its result and what it nests, if anything.
result_t Classify(const std::exception_ptr& current, TraceStream* stream,
                  std::exception_ptr& nested) {
  auto nestedOf = [&nested](const auto& error) {
    if (const auto* holder = dynamic_cast<const std::nested_exception*>(&error)) {
      nested = holder->nested_ptr();
    }
  };
  auto write = [stream](const char* text) {
    if (stream) {
      *stream << text;
    }
  };
  try {
    std::rethrow_exception(current);
  } catch (const ResultCodeException& error) {
    nestedOf(error);
    try {
      WriteDescription(stream, error);
    } catch (...) {
      write(error.what());
    }
    const result_t code = error.ExtractResult();
    return ORV_FAILED(code) ? code : errors::kExceptionWithSuccess;
  } catch (const Exception& error) {
    nestedOf(error);
    try {
      WriteDescription(stream, error);
    } catch (...) {
      write(error.what());
    }
    return errors::kExceptionHasNoResult;
  } catch (const exception& error) {
    nestedOf(error);
    write(error.what());
    const result_t code = error.ExtractResult();
    return ORV_FAILED(code) ? code : errors::kExceptionWithSuccess;
  } catch (const std::bad_alloc& error) {
    nestedOf(error);
    write(error.what());
    return errors::kOutOfMemory;
  } catch (const std::bad_cast& error) {
    nestedOf(error);
    write(error.what());
    return errors::kBadCast;
  } catch (const std::length_error& error) {
    nestedOf(error);
    write(error.what());
    return errors::kInvalidSize;
  } catch (const std::out_of_range& error) {
    nestedOf(error);
    write(error.what());
    return errors::kOutOfRange;
  } catch (const std::invalid_argument& error) {
    nestedOf(error);
    write(error.what());
    return errors::kInvalidArgument;
  } catch (const std::exception& error) {
    nestedOf(error);
    write(error.what());
    return errors::kExceptionHasNoResult;
  } catch (...) {
    write("unknown exception");
    return errors::kUnknownException;
  }
}

}  // namespace

result_t ReportCurrentException(ITracer* tracer, const char* prefix) noexcept {
  TraceRecord record;
  const bool open = OpenTrace(&record, tracer, trace_level::kError) != nullptr;
  TraceStream stream(open ? &record : nullptr);
  TraceStream* line = open ? &stream : nullptr;
  if (line && prefix) {
    *line << prefix << ' ';
  }
  result_t kept = 0;
  std::exception_ptr current = std::current_exception();
  // Nested exceptions are followed only while a line is open to show them.
  for (bool first = true; current && (first || line); first = false) {
    std::exception_ptr nested;
    const result_t result = Classify(current, line, nested);
    if (kept == 0) {
      kept = result;
    }
    current = nested;
  }
  if (line) {
    line->Close();
  }
  return kept != 0 ? kept : errors::kNoCurrentException;
}

}  // namespace orv
