#include "info_command.h"

#include <stdexcept>

#include "host/host_services.h"
#include "host/module_loader.h"
#include "known_classes.h"
#include "orv/intrusive_ptr.h"
#include "orv/meta_info.h"
#include "orv/vector.h"
#include "qel/tcp_traffic_interceptor/class_ids.h"
#include "qel/tcp_traffic_interceptor/invalid_certificate_handler_settings.h"

namespace module_host {
namespace {

namespace tti = qel::tcp_traffic_interceptor;

// A table that lost its end record must not run through the module's memory.
constexpr size_t kMaxFields = 1024;

void Check(result_t result, const std::string& call) {
  if (ORV_FAILED(result)) {
    throw std::runtime_error(call + " failed: " + Hex(static_cast<uint32_t>(result)) + " (" +
                             std::string(orv::GetResultText(result)) + ")");
  }
}

InfoReport::Descriptor CopyDescriptor(const orv::TypeDescriptor& descriptor) {
  InfoReport::Descriptor copy;
  copy.id = descriptor.id;
  copy.name = descriptor.name ? descriptor.name : "";
  copy.size = descriptor.size;
  for (const orv::FieldDescriptor* field = descriptor.fields;
       field && !(field->name == nullptr && field->marker == 0xffffffff); ++field) {
    if (copy.fields.size() == kMaxFields || !field->name) {
      throw std::runtime_error("descriptor " + Hex(descriptor.id) + " has no end record");
    }
    copy.fields.push_back({field->name, field->kind, field->offset, field->size});
  }
  return copy;
}

}  // namespace

InfoReport RunInfo(const std::string& modulePath, orv::ITracer* tracer) {
  InfoReport report;
  report.modulePath = modulePath;
  host::LoadedModule module(modulePath);
  const host::HostServices services = host::HostServices::Create(tracer);
  orv::IServiceLocator* locator = services.locator.get();

  for (const KnownClass& known : KnownClasses()) {
    orv::intrusive_ptr<orv::IObjectFactory> factory;
    const result_t result = module.GetObjectFactory(locator, known.id, factory.Ref());
    report.classes.push_back({known.id, known.name, result});
  }

  {
    orv::intrusive_ptr<orv::IStructMetaInfoRegistry> registry;
    {
      orv::intrusive_ptr<orv::IObjectFactory> factory;
      Check(
          module.GetObjectFactory(locator, tti::CLSID_TypeDescriptorStaticRegistry, factory.Ref()),
          "orvGetObjectFactory(TypeDescriptorStaticRegistry)");
      Check(factory->CreateInstance(locator, orv::IStructMetaInfoRegistry::kIid,
                                    reinterpret_cast<void**>(registry.Ref())),
            "CreateInstance(IStructMetaInfoRegistry)");
    }
    orv::types::vector_t<uint32_t> ids;
    Check(registry->GetTypeIds(ids), "GetTypeIds");
    report.typeIds.assign(ids.begin(), ids.end());

    const orv::TypeDescriptor* descriptor = nullptr;
    const uint32_t typeId = tti::InvalidCertificateHandlerSettings::kTypeId;
    Check(registry->GetDescriptor(typeId, &descriptor), "GetDescriptor(" + Hex(typeId) + ")");
    if (!descriptor) {
      throw std::runtime_error("GetDescriptor(" + Hex(typeId) + ") gave no descriptor");
    }
    report.descriptor = CopyDescriptor(*descriptor);
    report.canUnloadWhileHeld = module.CanUnloadModule();
  }

  report.canUnloadAfterRelease = module.CanUnloadModule();
  module.Unload();
  report.unloaded = !module.loaded();
  return report;
}

}  // namespace module_host
