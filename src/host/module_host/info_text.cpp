#include <iomanip>
#include <string>

#include "info_output.h"
#include "orv/result.h"

namespace module_host {
namespace {

std::string Answer(result_t result) {
  if (result == orv::errors::kOk) {
    return "served";
  }
  return Hex(static_cast<uint32_t>(result)) + " (" + std::string(orv::GetResultText(result)) + ")";
}

}  // namespace

void PrintInfoText(const InfoReport& report, std::ostream& out) {
  out << "Module  " << report.modulePath << "\n\n";

  out << "Classes\n";
  for (const InfoReport::ClassAnswer& answer : report.classes) {
    out << "  " << Hex(answer.id) << "  " << std::left << std::setw(30) << answer.name
        << Answer(answer.result) << '\n';
  }

  out << "\nRecord types served by the registry\n";
  for (const uint32_t id : report.typeIds) {
    out << "  " << Hex(id) << '\n';
  }

  const InfoReport::Descriptor& descriptor = report.descriptor;
  out << "\nDescriptor " << Hex(descriptor.id) << "  " << descriptor.name << "  size "
      << descriptor.size << '\n';
  out << "  " << std::left << std::setw(22) << "field" << std::right << std::setw(6) << "kind"
      << std::setw(8) << "offset" << std::setw(6) << "size" << '\n';
  for (const InfoReport::Field& field : descriptor.fields) {
    out << "  " << std::left << std::setw(22) << field.name << std::right << std::setw(6)
        << field.kind << std::setw(8) << field.offset << std::setw(6) << field.size << '\n';
  }

  out << "\norvCanUnloadModule\n"
      << "  while the registry is held  " << report.canUnloadWhileHeld << '\n'
      << "  after everything released   " << report.canUnloadAfterRelease << '\n';
  out << '\n' << (report.unloaded ? "Module unloaded" : "Module kept loaded") << '\n';
}

}  // namespace module_host
