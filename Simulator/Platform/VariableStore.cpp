#include "VariableStore.hpp"

#include <algorithm>
#include <cstring>

#include "Ucs2.hpp"

namespace carvex::sim {

namespace {

constexpr UINT32 kAccessBits = EFI_VARIABLE_BOOTSERVICE_ACCESS | EFI_VARIABLE_RUNTIME_ACCESS;
constexpr UINT32 kKnownBits = 0x7F;
// Hardware error records and authenticated writes are not offered here.
constexpr UINT32 kUnsupportedBits = 0x08 | 0x10 | 0x20;

}  // namespace

const char* VariableOpName(VariableOp op) {
  switch (op) {
    case VariableOp::Get: return "get";
    case VariableOp::Set: return "set";
    case VariableOp::Delete: return "delete";
    case VariableOp::GetNextName: return "next";
  }
  return "?";
}

VariableStore::VariableStore(std::filesystem::path file, FaultInjector* faults)
    : file_(std::move(file)), faults_(faults) {
  Load();
}

std::vector<Variable>::iterator VariableStore::Locate(std::u16string_view name,
                                                      const GuidKey& guid) {
  return std::find_if(variables_.begin(), variables_.end(), [&](const Variable& variable) {
    return variable.name == name && GuidKey(variable.guid) == guid;
  });
}

void VariableStore::Record(const std::string& caller, VariableOp op, std::u16string name,
                           const EFI_GUID* guid, UINT32 attributes, UINTN size,
                           EFI_STATUS status) {
  VariableLogEntry entry;
  entry.boot = boot_;
  entry.image = caller;
  entry.op = op;
  entry.name = std::move(name);
  if (guid != nullptr) {
    entry.guid = *guid;
  }
  entry.attributes = attributes;
  entry.size = size;
  entry.status = status;
  log_.push_back(std::move(entry));
}

EFI_STATUS VariableStore::GetVariable(const std::string& caller, const CHAR16* name,
                                      const EFI_GUID* guid, UINT32* attributes, UINTN* dataSize,
                                      VOID* data) {
  EFI_STATUS status;
  UINT32 found = 0;
  if (name == nullptr || guid == nullptr || dataSize == nullptr) {
    status = EFI_INVALID_PARAMETER;
  } else if (name[0] == 0) {
    status = EFI_NOT_FOUND;
  } else {
    auto variable = Locate(FromChar16(name), GuidKey(*guid));
    if (variable == variables_.end()) {
      status = EFI_NOT_FOUND;
    } else {
      found = variable->attributes;
      if (attributes != nullptr) {
        *attributes = variable->attributes;
      }
      if (*dataSize < variable->data.size()) {
        *dataSize = variable->data.size();
        status = EFI_BUFFER_TOO_SMALL;
      } else if (data == nullptr) {
        status = EFI_INVALID_PARAMETER;
      } else {
        std::memcpy(data, variable->data.data(), variable->data.size());
        *dataSize = variable->data.size();
        status = EFI_SUCCESS;
      }
    }
  }
  Record(caller, VariableOp::Get, FromChar16(name), guid, found,
         dataSize != nullptr ? *dataSize : 0, status);
  return status;
}

EFI_STATUS VariableStore::SetVariable(const std::string& caller, const CHAR16* name,
                                      const EFI_GUID* guid, UINT32 attributes, UINTN dataSize,
                                      const VOID* data) {
  const bool deleting = (dataSize == 0 && (attributes & kVariableAppendWrite) == 0) ||
                        (attributes & kAccessBits) == 0;
  const EFI_STATUS status = SetChecked(name, guid, attributes, dataSize, data);
  Record(caller, deleting ? VariableOp::Delete : VariableOp::Set, FromChar16(name), guid,
         attributes, dataSize, status);
  return status;
}

EFI_STATUS VariableStore::SetChecked(const CHAR16* name, const EFI_GUID* guid, UINT32 attributes,
                                     UINTN dataSize, const VOID* data) {
  if (name == nullptr || name[0] == 0 || guid == nullptr) {
    return EFI_INVALID_PARAMETER;
  }
  if (dataSize != 0 && data == nullptr) {
    return EFI_INVALID_PARAMETER;
  }
  if ((attributes & ~kKnownBits) != 0) {
    return EFI_INVALID_PARAMETER;
  }
  if ((attributes & kUnsupportedBits) != 0) {
    return EFI_UNSUPPORTED;
  }
  if ((attributes & EFI_VARIABLE_RUNTIME_ACCESS) != 0 &&
      (attributes & EFI_VARIABLE_BOOTSERVICE_ACCESS) == 0) {
    return EFI_INVALID_PARAMETER;
  }
  const std::u16string key = FromChar16(name);
  auto existing = Locate(key, GuidKey(*guid));
  // Rewriting a variable with other attributes is refused; attributes 0
  // (a delete) are always accepted.
  if (existing != variables_.end() && attributes != 0 &&
      (attributes & ~kVariableAppendWrite) != existing->attributes) {
    return EFI_INVALID_PARAMETER;
  }
  const bool append = (attributes & kVariableAppendWrite) != 0;
  const bool deleting = (dataSize == 0 && !append) || (attributes & kAccessBits) == 0;
  if (deleting && existing == variables_.end()) {
    return EFI_NOT_FOUND;
  }
  if (faults_ != nullptr) {
    if (auto injected = faults_->OnVariableWrite(key)) {
      return *injected;
    }
  }
  const auto* bytes = static_cast<const std::uint8_t*>(data);
  bool persistent;
  if (deleting) {
    persistent = (existing->attributes & EFI_VARIABLE_NON_VOLATILE) != 0;
    variables_.erase(existing);
  } else if (existing != variables_.end()) {
    persistent = (existing->attributes & EFI_VARIABLE_NON_VOLATILE) != 0;
    if (append) {
      existing->data.insert(existing->data.end(), bytes, bytes + dataSize);
    } else if (existing->data.size() == dataSize &&
               std::equal(existing->data.begin(), existing->data.end(), bytes)) {
      return EFI_SUCCESS;  // same content: nothing to write
    } else {
      existing->data.assign(bytes, bytes + dataSize);
    }
  } else {
    Variable created;
    created.name = key;
    created.guid = *guid;
    created.attributes = attributes & ~kVariableAppendWrite;
    created.data.assign(bytes, bytes + dataSize);
    persistent = (created.attributes & EFI_VARIABLE_NON_VOLATILE) != 0;
    variables_.push_back(std::move(created));
  }
  if (persistent) {
    Save();
  }
  return EFI_SUCCESS;
}

EFI_STATUS VariableStore::GetNextVariableName(const std::string& caller, UINTN* nameSize,
                                              CHAR16* name, EFI_GUID* guid) {
  EFI_STATUS status = EFI_SUCCESS;
  std::u16string reported;
  if (nameSize == nullptr || name == nullptr || guid == nullptr) {
    status = EFI_INVALID_PARAMETER;
  } else {
    // The name passed in must end within the buffer it came in.
    const std::size_t maxChars = *nameSize / sizeof(CHAR16);
    const std::u16string current = FromChar16(name, maxChars);
    if (maxChars == 0 || current.size() == maxChars) {
      status = EFI_INVALID_PARAMETER;
    } else {
      std::vector<Variable>::iterator next = variables_.begin();
      if (!current.empty()) {
        auto found = Locate(current, GuidKey(*guid));
        if (found == variables_.end()) {
          status = EFI_INVALID_PARAMETER;
        } else {
          next = found + 1;
        }
      }
      if (status == EFI_SUCCESS) {
        if (next == variables_.end()) {
          status = EFI_NOT_FOUND;
        } else {
          reported = next->name;
          const UINTN needed = (next->name.size() + 1) * sizeof(CHAR16);
          if (*nameSize < needed) {
            *nameSize = needed;
            status = EFI_BUFFER_TOO_SMALL;
          } else {
            std::memcpy(name, next->name.c_str(), needed);
            *guid = next->guid;
            *nameSize = needed;
          }
        }
      }
    }
  }
  Record(caller, VariableOp::GetNextName, reported, guid, 0, nameSize != nullptr ? *nameSize : 0,
         status);
  return status;
}

std::optional<Variable> VariableStore::Find(std::u16string_view name,
                                            const EFI_GUID& guid) const {
  auto found = std::find_if(variables_.begin(), variables_.end(), [&](const Variable& variable) {
    return variable.name == name && SameGuid(variable.guid, guid);
  });
  return found == variables_.end() ? std::nullopt : std::optional<Variable>(*found);
}

std::optional<std::vector<std::uint8_t>> VariableStore::Data(std::u16string_view name,
                                                             const EFI_GUID& guid) const {
  auto variable = Find(name, guid);
  return variable ? std::optional(variable->data) : std::nullopt;
}

void VariableStore::Put(std::u16string_view name, const EFI_GUID& guid, UINT32 attributes,
                        std::vector<std::uint8_t> data) {
  auto existing = Locate(name, GuidKey(guid));
  const bool wasPersistent =
      existing != variables_.end() && (existing->attributes & EFI_VARIABLE_NON_VOLATILE) != 0;
  if (existing == variables_.end()) {
    variables_.push_back(Variable{std::u16string(name), guid, attributes, std::move(data)});
  } else {
    existing->attributes = attributes;
    existing->data = std::move(data);
  }
  Record("host", VariableOp::Set, std::u16string(name), &guid, attributes,
         Find(name, guid)->data.size(), EFI_SUCCESS);
  if (wasPersistent || (attributes & EFI_VARIABLE_NON_VOLATILE) != 0) {
    Save();
  }
}

bool VariableStore::Erase(std::u16string_view name, const EFI_GUID& guid) {
  auto existing = Locate(name, GuidKey(guid));
  if (existing == variables_.end()) {
    return false;
  }
  const bool persistent = (existing->attributes & EFI_VARIABLE_NON_VOLATILE) != 0;
  variables_.erase(existing);
  Record("host", VariableOp::Delete, std::u16string(name), &guid, 0, 0, EFI_SUCCESS);
  if (persistent) {
    Save();
  }
  return true;
}

void VariableStore::DropVolatile() {
  std::erase_if(variables_, [](const Variable& variable) {
    return (variable.attributes & EFI_VARIABLE_NON_VOLATILE) == 0;
  });
}

std::vector<VariableLogEntry> VariableStore::LogFor(std::u16string_view name) const {
  std::vector<VariableLogEntry> entries;
  for (const VariableLogEntry& entry : log_) {
    if (entry.name == name) {
      entries.push_back(entry);
    }
  }
  return entries;
}

}  // namespace carvex::sim
