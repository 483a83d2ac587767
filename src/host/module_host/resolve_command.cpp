#include "resolve_command.h"

#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <stdexcept>

#include "component/traffic_processing/protocollers/ssl/auto_excludes/auto_exclude_request.h"
#include "component/traffic_processing/protocollers/ssl/invalid_certificate.h"
#include "engine/connections.h"
#include "engine/pem_chain.h"
#include "host/event_publisher.h"
#include "host/host_object.h"
#include "info_report.h"
#include "module_session.h"
#include "qel/enums/verification_result.h"
#include "qel/tcp_traffic_interceptor/class_ids.h"
#include "qel/tcp_traffic_interceptor/invalid_certificate_handler.h"

namespace module_host {
namespace {

namespace tti = qel::tcp_traffic_interceptor;
namespace ssl = ::traffic_processing::protocollers::ssl;
namespace auto_excludes = ::traffic_processing::protocollers::ssl::auto_excludes;
using json = nlohmann::ordered_json;

// The publisher's lines since `offset` of its file, each parsed back into an ordered object.
json EventsSince(const std::string& path, std::streamoff& offset) {
  json events = json::array();
  std::ifstream file(path);
  file.seekg(offset);
  for (std::string line; std::getline(file, line);) {
    events.push_back(json::parse(line));
  }
  file.clear();
  file.seekg(0, std::ios::end);
  offset = file.tellg();
  return events;
}

// A temporary file for the publisher, removed with its directory at the end of the command.
class EventsFile {
 public:
  EventsFile() {
    char directory[] = "/tmp/module-host-events-XXXXXX";
    if (::mkdtemp(directory) == nullptr) {
      throw std::runtime_error("cannot make a temporary directory");
    }
    m_directory = directory;
    m_path = m_directory + "/events.jsonl";
  }
  ~EventsFile() {
    std::remove(m_path.c_str());
    ::rmdir(m_directory.c_str());
  }
  EventsFile(const EventsFile&) = delete;
  EventsFile& operator=(const EventsFile&) = delete;
  const std::string& path() const { return m_path; }

 private:
  std::string m_directory;
  std::string m_path;
};

json RunOperation(const std::string& operation, orv::IObject* handler,
                  const ResolveRequest& request, const std::vector<engine::Der>& chain,
                  host::HostServices& services) {
  const uint32_t pid = request.pid != 0 ? request.pid : static_cast<uint32_t>(::getpid());
  engine::SslConnectionData data;
  data.domain = request.domain;
  data.verificationResult = request.verification;
  data.serverCertificate = chain.front();
  data.chain.certificates = chain;
  const auto connection = engine::Make<engine::SslConnection>(data);
  const auto client = engine::Make<engine::TcpConnection>(pid);
  json entry = {{"operation", operation}};
  if (operation == "detect") {
    auto notification = As<ssl::IInvalidCertificateNotification>(handler);
    entry["result"] = Hex(static_cast<uint32_t>(
        notification->OnInvalidCertificateDetected(client.get(), connection.get())));
  } else if (operation == "resolve") {
    auto resolver = As<ssl::IInvalidCertificateResolver>(handler);
    auto verdict = ssl::InvalidCertificateVerdict::Allow;
    entry["result"] =
        Hex(static_cast<uint32_t>(resolver->Resolve(client.get(), connection.get(), verdict)));
    entry["verdict"] = verdict == ssl::InvalidCertificateVerdict::Block ? "block" : "allow";
  } else if (operation == "desktop") {
    auto desktop = As<ssl::IInvalidCertificateSecureDesktopRequest>(handler);
    ssl::InvalidCertificateSecureDesktopRequest desktopRequest;
    desktopRequest.clientPid = pid;
    desktopRequest.domain = orv::types::string8_t(request.domain);
    desktopRequest.verificationResult = request.verification;
    for (const unsigned char byte : chain.front()) {
      desktopRequest.certificate.push_back(byte);
    }
    auto verdict = ssl::InvalidCertificateVerdict::Block;
    entry["result"] = Hex(static_cast<uint32_t>(desktop->Resolve(desktopRequest, verdict)));
    entry["verdict"] = verdict == ssl::InvalidCertificateVerdict::Block ? "block" : "allow";
  } else if (operation == "auto-exclude") {
    auto excludes = As<auto_excludes::IAutoExcludeRequest>(handler);
    auto_excludes::AutoExcludeRequest exclude;
    orv::intrusive_ptr<qel::IProcessInformation> process;
    qel::ProcessInformation information;
    if (ORV_SUCCEEDED(
            services.processes->GetInformation(static_cast<int32_t>(pid), process.Ref())) &&
        ORV_SUCCEEDED(process->GetInformation(information))) {
      exclude.uniquePid = information.uniquePid;
    }
    for (const char c : request.domain) {
      exclude.domain.push_back(static_cast<char16_t>(static_cast<unsigned char>(c)));
    }
    auto verdict = auto_excludes::AutoExcludeVerdict::NotExcluded;
    entry["result"] = Hex(static_cast<uint32_t>(excludes->Process(exclude, verdict)));
    entry["verdict"] =
        verdict == auto_excludes::AutoExcludeVerdict::Excluded ? "excluded" : "not excluded";
  } else {
    throw std::runtime_error("unknown operation " + operation);
  }
  return entry;
}

}  // namespace

uint32_t ParseVerification(const std::string& text) {
  for (uint32_t facility = 0x80010000; facility <= 0x80080000; facility += 0x10000) {
    for (uint32_t code = facility + 1; code < facility + 16; ++code) {
      if (qel::GetVerificationResultName(code).first.view() == text) {
        return code;
      }
    }
  }
  char* end = nullptr;
  const unsigned long long value = std::strtoull(text.c_str(), &end, 0);
  if (text.empty() || *end != '\0' || value > 0xffffffffULL) {
    throw std::runtime_error("not a verification result: " + text);
  }
  return static_cast<uint32_t>(value);
}

json RunResolve(const std::string& modulePath, orv::ITracer* tracer,
                const ResolveRequest& request) {
  const std::vector<engine::Der> chain = engine::ReadPemChain(ReadWholeFile(request.chainFile));
  EventsFile eventsFile;
  ModuleSession session(modulePath, tracer);
  host::HostServices& services = session.services();
  services.events = host::MakeObject<host::EventPublisher>(eventsFile.path());
  services.locator->Add<qel::INonRemoteEventPublisher>(services.events.get());
  qel::TaskInfo task;
  task.id = 1;
  task.name = orv::types::string16_t(u"Web Threat Protection");
  task.type = orv::types::string16_t(u"Web_Threat_Protection");
  task.state = qel::TaskState::Started;
  services.tasks->Configure({task});

  auto settings =
      session.Create<tti::IInvalidCertificateHandlerSettings>(tti::CLSID_InvalidCertificateHandler);
  tti::InvalidCertificateHandlerSettings record;
  record.action = static_cast<qel::UntrustedCertificateAction::Type>(request.action);
  record.addToAutoExcludes = request.autoExcludes;
  Check(settings->SetSettings(&record), "SetSettings");

  json report;
  report["domain"] = request.domain;
  report["certificates"] = chain.size();
  report["settings"] = {{"action", request.action}, {"addToAutoExcludes", request.autoExcludes}};
  report["operations"] = json::array();
  std::streamoff offset = 0;
  for (const std::string& operation : request.operations) {
    json entry = RunOperation(operation, settings.get(), request, chain, services);
    entry["events"] = EventsSince(eventsFile.path(), offset);
    report["operations"].push_back(std::move(entry));
  }
  return report;
}

}  // namespace module_host
