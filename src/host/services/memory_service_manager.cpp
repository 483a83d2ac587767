#include "host/memory_service_manager.h"

#include <new>
#include <utility>

namespace host {

MemoryServiceManager::~MemoryServiceManager() = default;

void MemoryServiceManager::RegisterRecordType(uint32_t typeId, size_t size,
                                              const orv::SerObjDescriptorHelper& ops) {
  const std::lock_guard lock(m_mutex);
  m_types[typeId] = RecordType{size, &ops};
}

void MemoryServiceManager::SeedRecord(uint32_t serviceKey, uint32_t typeId, const void* initial) {
  RecordType type;
  {
    const std::lock_guard lock(m_mutex);
    type = m_types.at(typeId);
  }
  std::shared_ptr<const void> copy = CopyRecord(type, initial);
  {
    const std::lock_guard lock(m_mutex);
    Stored& stored = m_records[serviceKey];
    stored.typeId = typeId;
    stored.revision = 1;
    stored.record.swap(copy);
  }
  // `copy` now holds what the key held before; it is destroyed here, outside the lock.
}

bool MemoryServiceManager::ReadRecord(uint32_t serviceKey, uint32_t typeId, void* out) const {
  std::shared_ptr<const void> source;
  const orv::SerObjDescriptorHelper* operations = nullptr;
  {
    const std::lock_guard lock(m_mutex);
    const auto found = m_records.find(serviceKey);
    if (found == m_records.end() || found->second.typeId != typeId) {
      return false;
    }
    source = found->second.record;
    operations = m_types.at(typeId).operations;
  }
  operations->Copy(source.get(), out);
  return true;
}

uint32_t MemoryServiceManager::Revision(uint32_t serviceKey, uint32_t typeId) const {
  const std::lock_guard lock(m_mutex);
  const auto found = m_records.find(serviceKey);
  if (found == m_records.end() || found->second.typeId != typeId) {
    return 0;
  }
  return found->second.revision;
}

result_t MemoryServiceManager::GetServiceSettings2(uint32_t serviceKey, orv::TypedRecordPtr record,
                                                   uint32_t& revision) {
  std::shared_ptr<const void> source;
  const orv::SerObjDescriptorHelper* operations = nullptr;
  uint32_t storedRevision = 0;
  {
    const std::lock_guard lock(m_mutex);
    ++m_reads;
    if (const result_t failure = TakeFailure(Operation::kGet)) {
      return failure;
    }
    if (!record.record) {
      return orv::errors::kInvalidArgument;
    }
    const auto found = m_records.find(serviceKey);
    if (found == m_records.end()) {
      return orv::errors::kSettingsNotFound;
    }
    if (found->second.typeId != record.typeId) {
      return orv::errors::kWrongSettingsType;
    }
    source = found->second.record;
    operations = m_types.at(record.typeId).operations;
    storedRevision = found->second.revision;
  }
  // Copy assignment: the caller's containers keep their own allocators.
  try {
    operations->Copy(source.get(), record.record);
  } catch (const std::bad_alloc&) {
    return orv::errors::kOutOfMemory;
  } catch (...) {
    return orv::errors::kUnexpected;
  }
  revision = storedRevision;
  return orv::errors::kOk;
}

result_t MemoryServiceManager::UpdateServiceSettings2(uint32_t serviceKey, uint32_t mode,
                                                      orv::TypedRecordPtr record,
                                                      uint32_t revision) {
  RecordType type;
  {
    const std::lock_guard lock(m_mutex);
    ++m_updates;
    m_lastMode = mode;
    if (const result_t failure = TakeFailure(Operation::kUpdate)) {
      return failure;
    }
    if (!record.record) {
      return orv::errors::kInvalidArgument;
    }
    const auto found = m_records.find(serviceKey);
    if (found != m_records.end() && found->second.typeId != record.typeId) {
      return orv::errors::kWrongSettingsType;
    }
    const auto known = m_types.find(record.typeId);
    if (known == m_types.end()) {
      return orv::errors::kSettingsNotFound;  // a type this store cannot copy
    }
    type = known->second;
  }

  // Built before the revision check so that no caller code (the record's allocators) runs under
  // the lock; a lost race only costs the copy.
  std::shared_ptr<const void> copy;
  try {
    copy = CopyRecord(type, record.record);
  } catch (const std::bad_alloc&) {
    return orv::errors::kOutOfMemory;
  } catch (...) {
    return orv::errors::kUnexpected;
  }

  // Declared after `copy`, so the lock goes first and whatever `copy` holds at the end (the
  // replaced record or the unused copy) is destroyed outside it.
  const std::lock_guard lock(m_mutex);
  const auto found = m_records.find(serviceKey);
  if (m_conflictsToInject != 0) {
    if (m_conflictsToInject != UINT64_MAX) {
      --m_conflictsToInject;
    }
    // As if another writer had stored first.
    if (found != m_records.end()) {
      ++found->second.revision;
    }
    ++m_conflicts;
    return orv::errors::kRevisionMovedOn;
  }
  if (found == m_records.end()) {
    if (revision != 0) {
      ++m_conflicts;
      return orv::errors::kRevisionMovedOn;
    }
    m_records[serviceKey] = Stored{record.typeId, 1, std::move(copy)};
    ++m_writes;
    return orv::errors::kOk;
  }
  Stored& stored = found->second;
  if (stored.typeId != record.typeId) {
    return orv::errors::kWrongSettingsType;
  }
  if (stored.revision != revision) {
    ++m_conflicts;
    return orv::errors::kRevisionMovedOn;
  }
  stored.record.swap(copy);
  ++stored.revision;
  ++m_writes;
  return orv::errors::kOk;
}

result_t MemoryServiceManager::FlushSettings() {
  const std::lock_guard lock(m_mutex);
  ++m_flushes;
  return TakeFailure(Operation::kFlush);
}

void MemoryServiceManager::InjectConflicts(uint64_t count) {
  const std::lock_guard lock(m_mutex);
  m_conflictsToInject = count;
}

void MemoryServiceManager::InjectFailure(Operation operation, result_t result, bool sticky) {
  const std::lock_guard lock(m_mutex);
  m_failures[operation] = Failure{result, sticky, true};
}

void MemoryServiceManager::ClearInjections() {
  const std::lock_guard lock(m_mutex);
  m_conflictsToInject = 0;
  m_failures.clear();
}

uint64_t MemoryServiceManager::reads() const {
  const std::lock_guard lock(m_mutex);
  return m_reads;
}

uint64_t MemoryServiceManager::writes() const {
  const std::lock_guard lock(m_mutex);
  return m_writes;
}

uint64_t MemoryServiceManager::updates() const {
  const std::lock_guard lock(m_mutex);
  return m_updates;
}

uint64_t MemoryServiceManager::conflicts() const {
  const std::lock_guard lock(m_mutex);
  return m_conflicts;
}

uint64_t MemoryServiceManager::flushes() const {
  const std::lock_guard lock(m_mutex);
  return m_flushes;
}

uint32_t MemoryServiceManager::lastMode() const {
  const std::lock_guard lock(m_mutex);
  return m_lastMode;
}

std::shared_ptr<const void> MemoryServiceManager::CopyRecord(const RecordType& type,
                                                             const void* source) {
  // Default construction and then assignment, so the stored containers use the store's own
  // allocation (null allocator, malloc) and hold no reference on the writer's allocator: the
  // writer may be a module that is unloaded while the record stays.
  void* memory = ::operator new(type.size);
  try {
    type.operations->ConstructInPlace(memory, nullptr);
  } catch (...) {
    ::operator delete(memory);
    throw;
  }
  const orv::SerObjDescriptorHelper* operations = type.operations;
  std::shared_ptr<const void> record(memory, [operations](void* object) {
    operations->Destroy(object);
    ::operator delete(object);
  });
  if (source) {
    operations->Copy(source, memory);
  }
  return record;
}

result_t MemoryServiceManager::TakeFailure(Operation operation) {
  const auto found = m_failures.find(operation);
  if (found == m_failures.end() || !found->second.armed) {
    return orv::errors::kOk;
  }
  if (!found->second.sticky) {
    found->second.armed = false;
  }
  return found->second.result;
}

}  // namespace host
