#pragma once

#include <cstdint>
#include <map>
#include <memory>
#include <mutex>
#include <utility>

#include "host/host_object.h"
#include "orv/type_descriptor.h"
#include "qel/service_manager.h"

namespace host {

// An in-memory qel::IServiceManager: one record per (service key, type id) with a revision that
// every write raises by one. Records are copied with the type's SerObjDescriptorHelper, so only
// types made known by Seed or RegisterType can be stored. Counters and switches let tests see and
// steer what the module does.
// Any thread. `m_mutex` guards the maps, the counters and the switches; it is never held while a
// record is copied (a copy may call the caller's allocator). A stored record is immutable and
// shared: a write builds a new copy outside the lock and swaps it in under it.
class MemoryServiceManager final : public HostObject<qel::IServiceManager> {
 public:
  enum class Operation { kGet, kUpdate, kFlush };

  MemoryServiceManager() = default;
  ~MemoryServiceManager() override;

  // Stores `initial` as the record of `serviceKey` at revision 1, replacing any record there.
  template <class Record>
  void Seed(uint32_t serviceKey, const Record& initial = Record{}) {
    RegisterType<Record>();
    SeedRecord(serviceKey, Record::kTypeId, &initial);
  }
  // Makes `Record` known, so that an update may create it at revision 0 under a new key.
  template <class Record>
  void RegisterType() {
    static_assert(alignof(Record) <= __STDCPP_DEFAULT_NEW_ALIGNMENT__);
    RegisterRecordType(Record::kTypeId, sizeof(Record),
                       orv::SerObjDescriptorImpl<Record>::Instance());
  }
  // A copy of the stored record; false when there is none of that type.
  template <class Record>
  bool Read(uint32_t serviceKey, Record& out) const {
    return ReadRecord(serviceKey, Record::kTypeId, &out);
  }
  // The stored revision, 0 when there is no record.
  uint32_t Revision(uint32_t serviceKey, uint32_t typeId) const;

  // qel::IServiceManager
  result_t GetServiceSettings2(uint32_t serviceKey, orv::TypedRecordPtr record,
                               uint32_t& revision) override;
  result_t UpdateServiceSettings2(uint32_t serviceKey, uint32_t mode, orv::TypedRecordPtr record,
                                  uint32_t revision) override;
  result_t FlushSettings() override;

  // The next `count` updates answer 0xa6430004 and store nothing, as if another writer had come
  // first (the stored revision is raised each time). UINT64_MAX: every update, until cleared.
  void InjectConflicts(uint64_t count);
  // The next call of `operation` fails with `result` (and every later one if `sticky`).
  void InjectFailure(Operation operation, result_t result, bool sticky = false);
  void ClearInjections();

  uint64_t reads() const;
  uint64_t writes() const;   // successful updates
  uint64_t updates() const;  // update calls, conflicts and failures included
  uint64_t conflicts() const;
  uint64_t flushes() const;
  uint32_t lastMode() const;

 private:
  struct RecordType {
    size_t size = 0;
    const orv::SerObjDescriptorHelper* operations = nullptr;
  };
  struct Stored {
    uint32_t typeId = 0;
    uint32_t revision = 0;
    // Constructed by the type's operations in ::operator new memory; never changed once stored.
    std::shared_ptr<const void> record;
  };
  struct Failure {
    result_t result = 0;
    bool sticky = false;
    bool armed = false;
  };

  void RegisterRecordType(uint32_t typeId, size_t size, const orv::SerObjDescriptorHelper& ops);
  void SeedRecord(uint32_t serviceKey, uint32_t typeId, const void* initial);
  bool ReadRecord(uint32_t serviceKey, uint32_t typeId, void* out) const;
  // A new stored copy of `source`; throws what the copy throws (std::bad_alloc). Mutex not held.
  static std::shared_ptr<const void> CopyRecord(const RecordType& type, const void* source);
  // The injected failure for `operation`, or 0; disarms a one-shot failure. Mutex held.
  result_t TakeFailure(Operation operation);

  mutable std::mutex m_mutex;
  std::map<uint32_t, RecordType> m_types;  // by type id
  std::map<uint32_t, Stored> m_records;    // by service key
  std::map<Operation, Failure> m_failures;
  uint64_t m_conflictsToInject = 0;
  uint64_t m_reads = 0;
  uint64_t m_writes = 0;
  uint64_t m_updates = 0;
  uint64_t m_conflicts = 0;
  uint64_t m_flushes = 0;
  uint32_t m_lastMode = 0;
};

}  // namespace host
