#include "IfrScan.hpp"

#include <algorithm>
#include <cstring>

namespace carvex::sim::hii {

namespace {

constexpr std::size_t kQuestionEnd = sizeof(EFI_IFR_OP_HEADER) + sizeof(EFI_IFR_QUESTION_HEADER);  // 13

std::uint16_t Read16(const std::uint8_t* p) {
  return static_cast<std::uint16_t>(p[0] | (p[1] << 8));
}

std::uint32_t Read32(const std::uint8_t* p) {
  return p[0] | (p[1] << 8) | (p[2] << 16) | (static_cast<std::uint32_t>(p[3]) << 24);
}

// The NUL-terminated ASCII name at op[from], bounded by the opcode; empty
// when it has no terminator.
std::u16string NameAt(const std::uint8_t* op, std::size_t opLength, std::size_t from) {
  std::u16string name;
  for (std::size_t i = from; i < opLength; i++) {
    if (op[i] == 0) {
      return name;
    }
    name.push_back(op[i]);
  }
  return {};
}

std::size_t TypeWidth(std::uint8_t type) {
  switch (type) {
    case EFI_IFR_TYPE_NUM_SIZE_8:
    case EFI_IFR_TYPE_BOOLEAN:
      return 1;
    case EFI_IFR_TYPE_NUM_SIZE_16:
    case EFI_IFR_TYPE_STRING:
      return 2;
    case EFI_IFR_TYPE_NUM_SIZE_32:
      return 4;
    case EFI_IFR_TYPE_NUM_SIZE_64:
      return 8;
    case EFI_IFR_TYPE_TIME:
      return 3;
    case EFI_IFR_TYPE_DATE:
      return 4;
    default:
      return 0;
  }
}

// The width of the first option nested in the ordered list at `at`.
std::size_t OrderedListOptionWidth(const std::uint8_t* ops, std::size_t length, std::size_t at) {
  std::size_t depth = 0;
  for (std::size_t pos = at; pos < length;) {
    const std::uint8_t opcode = ops[pos];
    const std::size_t opLength = ops[pos + 1] & EFI_IFR_OP_LENGTH_MASK;
    const bool scope = (ops[pos + 1] & EFI_IFR_OP_SCOPE_BIT) != 0;
    if (pos != at && opcode == EFI_IFR_ONE_OF_OPTION_OP && opLength > OFFSET_OF(EFI_IFR_ONE_OF_OPTION, Type)) {
      return TypeWidth(ops[pos + OFFSET_OF(EFI_IFR_ONE_OF_OPTION, Type)]);
    }
    if (scope) {
      depth++;
    } else if (opcode == EFI_IFR_END_OP && --depth == 0) {
      return 0;
    }
    pos += opLength;
  }
  return 0;
}

}  // namespace

bool IfrWellFormed(const std::uint8_t* ops, std::size_t length) {
  std::size_t pos = 0;
  while (pos < length) {
    if (length - pos < sizeof(EFI_IFR_OP_HEADER)) {
      return false;
    }
    const std::size_t opLength = ops[pos + 1] & EFI_IFR_OP_LENGTH_MASK;
    if (opLength < sizeof(EFI_IFR_OP_HEADER) || opLength > length - pos) {
      return false;
    }
    pos += opLength;
  }
  return true;
}

std::vector<VarStore> VarStoresBeforeFirstForm(const std::uint8_t* ops, std::size_t length) {
  std::vector<VarStore> stores;
  for (std::size_t pos = 0; pos < length;) {
    const std::uint8_t* op = ops + pos;
    const std::size_t opLength = op[1] & EFI_IFR_OP_LENGTH_MASK;
    if (op[0] == EFI_IFR_FORM_OP || op[0] == EFI_IFR_FORM_MAP_OP) {
      break;
    }
    VarStore store;
    switch (op[0]) {
      case EFI_IFR_VARSTORE_OP:
        if (opLength >= sizeof(EFI_IFR_VARSTORE)) {
          store.kind = VarStore::Kind::Buffer;
          std::memcpy(&store.guid, op + OFFSET_OF(EFI_IFR_VARSTORE, Guid), sizeof(EFI_GUID));
          store.id = Read16(op + OFFSET_OF(EFI_IFR_VARSTORE, VarStoreId));
          store.size = Read16(op + OFFSET_OF(EFI_IFR_VARSTORE, Size));
          store.name = NameAt(op, opLength, OFFSET_OF(EFI_IFR_VARSTORE, Name));
          stores.push_back(store);
        }
        break;
      case EFI_IFR_VARSTORE_EFI_OP:
        if (opLength >= sizeof(EFI_IFR_VARSTORE_EFI)) {
          store.kind = VarStore::Kind::Efi;
          store.id = Read16(op + OFFSET_OF(EFI_IFR_VARSTORE_EFI, VarStoreId));
          std::memcpy(&store.guid, op + OFFSET_OF(EFI_IFR_VARSTORE_EFI, Guid), sizeof(EFI_GUID));
          store.attributes = Read32(op + OFFSET_OF(EFI_IFR_VARSTORE_EFI, Attributes));
          store.size = Read16(op + OFFSET_OF(EFI_IFR_VARSTORE_EFI, Size));
          store.name = NameAt(op, opLength, OFFSET_OF(EFI_IFR_VARSTORE_EFI, Name));
          stores.push_back(store);
        }
        break;
      case EFI_IFR_VARSTORE_NAME_VALUE_OP:
        if (opLength >= sizeof(EFI_IFR_VARSTORE_NAME_VALUE)) {
          store.kind = VarStore::Kind::NameValue;
          store.id = Read16(op + OFFSET_OF(EFI_IFR_VARSTORE_NAME_VALUE, VarStoreId));
          std::memcpy(&store.guid, op + OFFSET_OF(EFI_IFR_VARSTORE_NAME_VALUE, Guid), sizeof(EFI_GUID));
          stores.push_back(store);
        }
        break;
      default:
        break;
    }
    pos += opLength;
  }
  return stores;
}

std::vector<StorageBlock> QuestionBlocks(const std::uint8_t* ops, std::size_t length, EFI_VARSTORE_ID store) {
  std::vector<StorageBlock> blocks;
  if (store == 0) {
    return blocks;  // id 0 means "no storage"
  }
  for (std::size_t pos = 0; pos < length;) {
    const std::uint8_t* op = ops + pos;
    const std::size_t opLength = op[1] & EFI_IFR_OP_LENGTH_MASK;
    const std::size_t here = pos;
    pos += opLength;
    if (opLength < kQuestionEnd || Read16(op + 8) != store) {
      continue;
    }
    std::size_t width = 0;
    switch (op[0]) {
      case EFI_IFR_ONE_OF_OP:
      case EFI_IFR_NUMERIC_OP:
        if (opLength > kQuestionEnd) {
          width = std::size_t{1} << (op[kQuestionEnd] & EFI_IFR_NUMERIC_SIZE);
        }
        break;
      case EFI_IFR_CHECKBOX_OP:
        width = 1;
        break;
      case EFI_IFR_STRING_OP:
        if (opLength >= sizeof(EFI_IFR_STRING)) {
          width = op[OFFSET_OF(EFI_IFR_STRING, MaxSize)] * std::size_t{2};
        }
        break;
      case EFI_IFR_PASSWORD_OP:
        if (opLength >= sizeof(EFI_IFR_PASSWORD)) {
          width = Read16(op + OFFSET_OF(EFI_IFR_PASSWORD, MaxSize)) * std::size_t{2};
        }
        break;
      case EFI_IFR_DATE_OP:
      case EFI_IFR_TIME_OP:
        if (opLength >= sizeof(EFI_IFR_DATE) && (op[kQuestionEnd] & EFI_QF_DATE_STORAGE) == QF_DATE_STORAGE_NORMAL) {
          width = (op[0] == EFI_IFR_DATE_OP) ? sizeof(EFI_HII_DATE) : sizeof(EFI_HII_TIME);
        }
        break;
      case EFI_IFR_ORDERED_LIST_OP:
        if (opLength >= sizeof(EFI_IFR_ORDERED_LIST)) {
          width = op[OFFSET_OF(EFI_IFR_ORDERED_LIST, MaxContainers)] * OrderedListOptionWidth(ops, length, here);
        }
        break;
      case EFI_IFR_REF_OP:
        width = sizeof(EFI_HII_REF);
        break;
      default:
        break;
    }
    const std::size_t offset = Read16(op + 10);
    if (width == 0 || offset + width > 0xFFFF) {
      continue;
    }
    blocks.push_back({static_cast<std::uint16_t>(offset), static_cast<std::uint16_t>(width)});
  }
  std::sort(blocks.begin(), blocks.end());
  blocks.erase(std::unique(blocks.begin(), blocks.end()), blocks.end());
  return blocks;
}

}  // namespace carvex::sim::hii
