#include <string>

#include <nlohmann/json.hpp>

#include "info_output.h"
#include "orv/result.h"

namespace module_host {

void PrintInfoJson(const InfoReport& report, std::ostream& out) {
  nlohmann::ordered_json classes = nlohmann::ordered_json::array();
  for (const InfoReport::ClassAnswer& answer : report.classes) {
    classes.push_back({{"id", Hex(answer.id)},
                       {"name", answer.name},
                       {"served", answer.result == orv::errors::kOk},
                       {"result", Hex(static_cast<uint32_t>(answer.result))},
                       {"resultText", std::string(orv::GetResultText(answer.result))}});
  }
  nlohmann::ordered_json typeIds = nlohmann::ordered_json::array();
  for (const uint32_t id : report.typeIds) {
    typeIds.push_back(Hex(id));
  }
  nlohmann::ordered_json fields = nlohmann::ordered_json::array();
  for (const InfoReport::Field& field : report.descriptor.fields) {
    fields.push_back({{"name", field.name},
                      {"kind", field.kind},
                      {"offset", field.offset},
                      {"size", field.size}});
  }
  const nlohmann::ordered_json document = {
      {"module", report.modulePath},
      {"classes", classes},
      {"typeIds", typeIds},
      {"descriptor",
       {{"id", Hex(report.descriptor.id)},
        {"name", report.descriptor.name},
        {"size", report.descriptor.size},
        {"fields", fields}}},
      {"canUnloadModule",
       {{"whileRegistryHeld", report.canUnloadWhileHeld},
        {"afterRelease", report.canUnloadAfterRelease}}},
      {"unloaded", report.unloaded},
  };
  out << document.dump(2) << '\n';
}

}  // namespace module_host
