// The tables of the enumeration family, made from the row lists of the enumerations' headers, so
// that enumerators and names cannot drift apart.
#include "family_tables.h"

#include "qel/enums/access.h"
#include "qel/enums/action_on_threat.h"
#include "qel/enums/additional_name.h"
#include "qel/enums/aep_mode.h"
#include "qel/enums/anti_cryptor_action.h"
#include "qel/enums/app_control_access.h"
#include "qel/enums/app_control_mode.h"
#include "qel/enums/app_control_rule_status.h"
#include "qel/enums/app_control_rules_action.h"
#include "qel/enums/application_stop_reason.h"
#include "qel/enums/application_update_mode.h"
#include "qel/enums/behavior_detection_task_mode.h"
#include "qel/enums/boolean.h"
#include "qel/enums/certificate_status.h"
#include "qel/enums/certificate_verification_policy.h"
#include "qel/enums/container_scan_action.h"
#include "qel/enums/content_category.h"
#include "qel/enums/danger_level.h"
#include "qel/enums/data_diode_algorithm.h"
#include "qel/enums/data_diode_protocol.h"
#include "qel/enums/detect_certainty.h"
#include "qel/enums/detect_danger.h"
#include "qel/enums/detect_source.h"
#include "qel/enums/detect_type.h"
#include "qel/enums/detection_method.h"
#include "qel/enums/device_bus.h"
#include "qel/enums/device_bus_policy.h"
#include "qel/enums/device_class.h"
#include "qel/enums/device_class_policy.h"
#include "qel/enums/device_control_mode.h"
#include "qel/enums/drive_access.h"
#include "qel/enums/drive_policy.h"
#include "qel/enums/encrypted_connections_scan_error_action.h"
#include "qel/enums/event_name.h"
#include "qel/enums/fanotify_support.h"
#include "qel/enums/file_modification_type.h"
#include "qel/enums/file_object_type.h"
#include "qel/enums/file_type.h"
#include "qel/enums/filesystem_name.h"
#include "qel/enums/filesystem_type.h"
#include "qel/enums/fim_error_reason.h"
#include "qel/enums/format_category.h"
#include "qel/enums/golden_image_action.h"
#include "qel/enums/heuristic_level.h"
#include "qel/enums/image_action.h"
#include "qel/enums/initiator.h"
#include "qel/enums/interceptor_apply_strategy.h"
#include "qel/enums/interceptor_fallback_strategy.h"
#include "qel/enums/interceptor_mode.h"
#include "qel/enums/internet_protocol.h"
#include "qel/enums/ip_address_family.h"
#include "qel/enums/memory_restart_policy.h"
#include "qel/enums/monitor_network_ports.h"
#include "qel/enums/monitoring_mode.h"
#include "qel/enums/network_adapter_policy.h"
#include "qel/enums/network_attack_action.h"
#include "qel/enums/object_name.h"
#include "qel/enums/object_not_disinfected_reason.h"
#include "qel/enums/object_type.h"
#include "qel/enums/on_connect_scan_action.h"
#include "qel/enums/packet_rule_action.h"
#include "qel/enums/packet_rule_direction.h"
#include "qel/enums/packet_rule_protocol.h"
#include "qel/enums/patch_importance.h"
#include "qel/enums/product_update_status.h"
#include "qel/enums/protection_mode.h"
#include "qel/enums/qel_role.h"
#include "qel/enums/report_feature_techs.h"
#include "qel/enums/report_features.h"
#include "qel/enums/rotate_method.h"
#include "qel/enums/rotate_period.h"
#include "qel/enums/sandbox_certificate_type.h"
#include "qel/enums/sandbox_status.h"
#include "qel/enums/siem_format_type.h"
#include "qel/enums/siem_status.h"
#include "qel/enums/syslog_format.h"
#include "qel/enums/task_failed_reason.h"
#include "qel/enums/task_state.h"
#include "qel/enums/trace_level.h"
#include "qel/enums/ulkm_state.h"
#include "qel/enums/untrusted_certificate_action.h"
#include "qel/enums/upgrade_state.h"
#include "qel/enums/web_av_action.h"
#include "qel/enums/web_control_action.h"
#include "qel/enums/web_control_categories.h"

#define QEL_FAMILY_ROW(name, value) {static_cast<uint32_t>(value), #name},
#define QEL_FAMILY_TABLE(X) constexpr EnumRow k##X[] = {QEL_ENUM_ROWS_##X(QEL_FAMILY_ROW)};
#define QEL_FAMILY_ENTRY(X) \
  FamilyTable { EnumInfo<::qel::X::Type>::kIndex, #X, k##X, sizeof(k##X) / sizeof(k##X[0]) }

namespace qel::enums {
namespace {

QEL_FAMILY_TABLE(Boolean)
QEL_FAMILY_TABLE(ActionOnThreat)
QEL_FAMILY_TABLE(HeuristicLevel)
QEL_FAMILY_TABLE(DetectType)
QEL_FAMILY_TABLE(DetectCertainty)
QEL_FAMILY_TABLE(DetectSource)
QEL_FAMILY_TABLE(TaskState)
QEL_FAMILY_TABLE(ObjectType)
QEL_FAMILY_TABLE(DangerLevel)
QEL_FAMILY_TABLE(Access)
QEL_FAMILY_TABLE(EventName)
QEL_FAMILY_TABLE(AdditionalName)
QEL_FAMILY_TABLE(TraceLevel)
QEL_FAMILY_TABLE(RotateMethod)
QEL_FAMILY_TABLE(RotatePeriod)
QEL_FAMILY_TABLE(ObjectName)
QEL_FAMILY_TABLE(ObjectNotDisinfectedReason)
QEL_FAMILY_TABLE(FilesystemType)
QEL_FAMILY_TABLE(FilesystemName)
QEL_FAMILY_TABLE(ApplicationStopReason)
QEL_FAMILY_TABLE(TaskFailedReason)
QEL_FAMILY_TABLE(FileModificationType)
QEL_FAMILY_TABLE(IPAddressFamily)
QEL_FAMILY_TABLE(PacketRuleAction)
QEL_FAMILY_TABLE(PacketRuleDirection)
QEL_FAMILY_TABLE(PacketRuleProtocol)
QEL_FAMILY_TABLE(FileObjectType)
QEL_FAMILY_TABLE(PatchImportance)
QEL_FAMILY_TABLE(ProductUpdateStatus)
QEL_FAMILY_TABLE(FimErrorReason)
QEL_FAMILY_TABLE(UpgradeState)
QEL_FAMILY_TABLE(ApplicationUpdateMode)
QEL_FAMILY_TABLE(Initiator)
QEL_FAMILY_TABLE(DeviceClassPolicy)
QEL_FAMILY_TABLE(DeviceControlMode)
QEL_FAMILY_TABLE(DrivePolicy)
QEL_FAMILY_TABLE(NetworkAdapterPolicy)
QEL_FAMILY_TABLE(DeviceBusPolicy)
QEL_FAMILY_TABLE(DriveAccess)
QEL_FAMILY_TABLE(WebAvAction)
QEL_FAMILY_TABLE(MonitorNetworkPorts)
QEL_FAMILY_TABLE(EncryptedConnectionsScanErrorAction)
QEL_FAMILY_TABLE(DeviceClass)
QEL_FAMILY_TABLE(DeviceBus)
QEL_FAMILY_TABLE(OnConnectScanAction)
QEL_FAMILY_TABLE(QelRole)
QEL_FAMILY_TABLE(DetectionMethod)
QEL_FAMILY_TABLE(NetworkAttackAction)
QEL_FAMILY_TABLE(ContainerScanAction)
QEL_FAMILY_TABLE(ImageAction)
QEL_FAMILY_TABLE(UntrustedCertificateAction)
QEL_FAMILY_TABLE(CertificateStatus)
QEL_FAMILY_TABLE(InternetProtocol)
QEL_FAMILY_TABLE(CertificateVerificationPolicy)
QEL_FAMILY_TABLE(FileType)
QEL_FAMILY_TABLE(AppControlMode)
QEL_FAMILY_TABLE(AppControlRulesAction)
QEL_FAMILY_TABLE(AppControlRuleStatus)
QEL_FAMILY_TABLE(AppControlAccess)
QEL_FAMILY_TABLE(BehaviorDetectionTaskMode)
QEL_FAMILY_TABLE(AEPMode)
QEL_FAMILY_TABLE(DetectDanger)
QEL_FAMILY_TABLE(WebControlCategories)
QEL_FAMILY_TABLE(ContentCategory)
QEL_FAMILY_TABLE(FormatCategory)
QEL_FAMILY_TABLE(WebControlAction)
QEL_FAMILY_TABLE(SyslogFormat)
QEL_FAMILY_TABLE(MonitoringMode)
QEL_FAMILY_TABLE(MemoryRestartPolicy)
QEL_FAMILY_TABLE(ProtectionMode)
QEL_FAMILY_TABLE(AntiCryptorAction)
QEL_FAMILY_TABLE(SandboxStatus)
QEL_FAMILY_TABLE(SandboxCertificateType)
QEL_FAMILY_TABLE(SiemFormatType)
QEL_FAMILY_TABLE(SiemStatus)
QEL_FAMILY_TABLE(GoldenImageAction)
QEL_FAMILY_TABLE(ULKMState)
QEL_FAMILY_TABLE(InterceptorMode)
QEL_FAMILY_TABLE(InterceptorFallbackStrategy)
QEL_FAMILY_TABLE(InterceptorApplyStrategy)
QEL_FAMILY_TABLE(FanotifySupport)
QEL_FAMILY_TABLE(ReportFeatures)
QEL_FAMILY_TABLE(ReportFeatureTechs)
QEL_FAMILY_TABLE(DataDiodeAlgorithm)
QEL_FAMILY_TABLE(DataDiodeProtocol)

constexpr FamilyTable kFamily[] = {
    QEL_FAMILY_ENTRY(Boolean),
    QEL_FAMILY_ENTRY(ActionOnThreat),
    QEL_FAMILY_ENTRY(HeuristicLevel),
    QEL_FAMILY_ENTRY(DetectType),
    QEL_FAMILY_ENTRY(DetectCertainty),
    QEL_FAMILY_ENTRY(DetectSource),
    QEL_FAMILY_ENTRY(TaskState),
    QEL_FAMILY_ENTRY(ObjectType),
    QEL_FAMILY_ENTRY(DangerLevel),
    QEL_FAMILY_ENTRY(Access),
    QEL_FAMILY_ENTRY(EventName),
    QEL_FAMILY_ENTRY(AdditionalName),
    QEL_FAMILY_ENTRY(TraceLevel),
    QEL_FAMILY_ENTRY(RotateMethod),
    QEL_FAMILY_ENTRY(RotatePeriod),
    QEL_FAMILY_ENTRY(ObjectName),
    QEL_FAMILY_ENTRY(ObjectNotDisinfectedReason),
    QEL_FAMILY_ENTRY(FilesystemType),
    QEL_FAMILY_ENTRY(FilesystemName),
    QEL_FAMILY_ENTRY(ApplicationStopReason),
    QEL_FAMILY_ENTRY(TaskFailedReason),
    QEL_FAMILY_ENTRY(FileModificationType),
    QEL_FAMILY_ENTRY(IPAddressFamily),
    QEL_FAMILY_ENTRY(PacketRuleAction),
    QEL_FAMILY_ENTRY(PacketRuleDirection),
    QEL_FAMILY_ENTRY(PacketRuleProtocol),
    QEL_FAMILY_ENTRY(FileObjectType),
    QEL_FAMILY_ENTRY(PatchImportance),
    QEL_FAMILY_ENTRY(ProductUpdateStatus),
    QEL_FAMILY_ENTRY(FimErrorReason),
    QEL_FAMILY_ENTRY(UpgradeState),
    QEL_FAMILY_ENTRY(ApplicationUpdateMode),
    QEL_FAMILY_ENTRY(Initiator),
    QEL_FAMILY_ENTRY(DeviceClassPolicy),
    QEL_FAMILY_ENTRY(DeviceControlMode),
    QEL_FAMILY_ENTRY(DrivePolicy),
    QEL_FAMILY_ENTRY(NetworkAdapterPolicy),
    QEL_FAMILY_ENTRY(DeviceBusPolicy),
    QEL_FAMILY_ENTRY(DriveAccess),
    QEL_FAMILY_ENTRY(WebAvAction),
    QEL_FAMILY_ENTRY(MonitorNetworkPorts),
    QEL_FAMILY_ENTRY(EncryptedConnectionsScanErrorAction),
    QEL_FAMILY_ENTRY(DeviceClass),
    QEL_FAMILY_ENTRY(DeviceBus),
    QEL_FAMILY_ENTRY(OnConnectScanAction),
    QEL_FAMILY_ENTRY(QelRole),
    QEL_FAMILY_ENTRY(DetectionMethod),
    QEL_FAMILY_ENTRY(NetworkAttackAction),
    QEL_FAMILY_ENTRY(ContainerScanAction),
    QEL_FAMILY_ENTRY(ImageAction),
    QEL_FAMILY_ENTRY(UntrustedCertificateAction),
    QEL_FAMILY_ENTRY(CertificateStatus),
    QEL_FAMILY_ENTRY(InternetProtocol),
    QEL_FAMILY_ENTRY(CertificateVerificationPolicy),
    QEL_FAMILY_ENTRY(FileType),
    QEL_FAMILY_ENTRY(AppControlMode),
    QEL_FAMILY_ENTRY(AppControlRulesAction),
    QEL_FAMILY_ENTRY(AppControlRuleStatus),
    QEL_FAMILY_ENTRY(AppControlAccess),
    QEL_FAMILY_ENTRY(BehaviorDetectionTaskMode),
    QEL_FAMILY_ENTRY(AEPMode),
    QEL_FAMILY_ENTRY(DetectDanger),
    QEL_FAMILY_ENTRY(WebControlCategories),
    QEL_FAMILY_ENTRY(ContentCategory),
    QEL_FAMILY_ENTRY(FormatCategory),
    QEL_FAMILY_ENTRY(WebControlAction),
    QEL_FAMILY_ENTRY(SyslogFormat),
    QEL_FAMILY_ENTRY(MonitoringMode),
    QEL_FAMILY_ENTRY(MemoryRestartPolicy),
    QEL_FAMILY_ENTRY(ProtectionMode),
    QEL_FAMILY_ENTRY(AntiCryptorAction),
    QEL_FAMILY_ENTRY(SandboxStatus),
    QEL_FAMILY_ENTRY(SandboxCertificateType),
    QEL_FAMILY_ENTRY(SiemFormatType),
    QEL_FAMILY_ENTRY(SiemStatus),
    QEL_FAMILY_ENTRY(GoldenImageAction),
    QEL_FAMILY_ENTRY(ULKMState),
    QEL_FAMILY_ENTRY(InterceptorMode),
    QEL_FAMILY_ENTRY(InterceptorFallbackStrategy),
    QEL_FAMILY_ENTRY(InterceptorApplyStrategy),
    QEL_FAMILY_ENTRY(FanotifySupport),
    QEL_FAMILY_ENTRY(ReportFeatures),
    QEL_FAMILY_ENTRY(ReportFeatureTechs),
    QEL_FAMILY_ENTRY(DataDiodeAlgorithm),
    QEL_FAMILY_ENTRY(DataDiodeProtocol),
};

}  // namespace

const FamilyTable* FamilyTables(size_t& count) noexcept {
  count = sizeof(kFamily) / sizeof(kFamily[0]);
  return kFamily;
}

}  // namespace qel::enums
