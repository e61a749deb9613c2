#include "ControllerStore.hpp"

#include <algorithm>
#include <fstream>
#include <stdexcept>

#include <nlohmann/json.hpp>

namespace carvex::sim::kiv {

namespace {

using json = nlohmann::json;

std::string Hex(const std::vector<std::uint8_t>& bytes) {
  static constexpr char kDigits[] = "0123456789abcdef";
  std::string text;
  text.reserve(bytes.size() * 2);
  for (std::uint8_t b : bytes) {
    text.push_back(kDigits[b >> 4]);
    text.push_back(kDigits[b & 0xF]);
  }
  return text;
}

std::vector<std::uint8_t> Unhex(const std::string& text) {
  if (text.size() % 2 != 0) throw std::runtime_error("odd number of hex digits");
  std::vector<std::uint8_t> bytes(text.size() / 2);
  for (std::size_t i = 0; i < bytes.size(); ++i) {
    bytes[i] = static_cast<std::uint8_t>(std::stoul(text.substr(i * 2, 2), nullptr, 16));
  }
  return bytes;
}

void Wipe(std::vector<std::uint8_t>& bytes) {
  volatile std::uint8_t* p = bytes.data();
  for (std::size_t i = 0; i < bytes.size(); ++i) p[i] = 0;
  bytes.clear();
}

}  // namespace

const StoreCopy* FormSetCopy::Store(const std::string& name) const {
  for (const StoreCopy& store : stores) {
    if (store.name == name) return &store;
  }
  return nullptr;
}

ControllerStore::ControllerStore(std::filesystem::path stateDirectory)
    : file_(std::move(stateDirectory) / kStateFile) {}

ControllerStore::~ControllerStore() { ClearQueue(); }

void ControllerStore::Enqueue(RequestedValue value) {
  for (RequestedValue& queued : queue_) {
    if (queued.store == value.store && queued.offset == value.offset) {
      Wipe(queued.bytes);
      queued = std::move(value);
      return;
    }
  }
  queue_.push_back(std::move(value));
}

void ControllerStore::ClearQueue() {
  for (RequestedValue& value : queue_) Wipe(value.bytes);
  queue_.clear();
}

void ControllerStore::Load(std::string* warning) {
  copies_.clear();
  ClearQueue();
  outcomes_.clear();
  outcomeBoot_ = 0;
  std::ifstream in(file_);
  if (!in) return;
  try {
    const json document = json::parse(in);
    for (const auto& [keyword, copy] : document.at("copies").items()) {
      FormSetCopy formSet;
      formSet.boot = copy.at("boot").get<unsigned>();
      formSet.reason = copy.value("reason", "");
      for (const json& store : copy.at("stores")) {
        StoreCopy storeCopy;
        storeCopy.name = store.at("name").get<std::string>();
        storeCopy.guid = store.at("guid").get<std::string>();
        storeCopy.size = store.at("size").get<std::uint16_t>();
        storeCopy.error = store.value("error", "");
        for (const json& instance : store.at("instances")) {
          storeCopy.instances.push_back(Unhex(instance.get<std::string>()));
        }
        formSet.stores.push_back(std::move(storeCopy));
      }
      copies_[keyword] = std::move(formSet);
    }
    for (const json& value : document.at("queue")) {
      RequestedValue requested;
      requested.key = value.at("key").get<std::string>();
      requested.store = value.at("store").get<std::string>();
      requested.offset = value.at("offset").get<std::uint16_t>();
      requested.bytes = Unhex(value.at("bytes").get<std::string>());
      requested.secret = value.value("secret", false);
      queue_.push_back(std::move(requested));
    }
    outcomeBoot_ = document.value("outcomeBoot", 0u);
    for (const json& outcome : document.value("outcomes", json::array())) {
      outcomes_.push_back({outcome.at("key").get<std::string>(), outcome.at("text").get<std::string>()});
    }
  } catch (const std::exception& error) {
    copies_.clear();
    ClearQueue();
    outcomes_.clear();
    if (warning != nullptr) {
      *warning = file_.string() + ": " + error.what() + "; the controller starts empty";
    }
  }
}

void ControllerStore::Save() const {
  json document;
  document["copies"] = json::object();
  for (const auto& [keyword, copy] : copies_) {
    json stores = json::array();
    for (const StoreCopy& store : copy.stores) {
      json instances = json::array();
      for (const auto& instance : store.instances) instances.push_back(Hex(instance));
      json entry = {{"name", store.name}, {"guid", store.guid}, {"size", store.size}, {"instances", instances}};
      if (!store.error.empty()) entry["error"] = store.error;
      stores.push_back(std::move(entry));
    }
    document["copies"][keyword] = {{"boot", copy.boot}, {"reason", copy.reason}, {"stores", stores}};
  }
  document["queue"] = json::array();
  for (const RequestedValue& value : queue_) {
    document["queue"].push_back({{"key", value.key},
                                 {"store", value.store},
                                 {"offset", value.offset},
                                 {"bytes", Hex(value.bytes)},
                                 {"secret", value.secret}});
  }
  document["outcomeBoot"] = outcomeBoot_;
  document["outcomes"] = json::array();
  for (const RequestOutcome& outcome : outcomes_) {
    document["outcomes"].push_back({{"key", outcome.key}, {"text", outcome.text}});
  }
  std::filesystem::create_directories(file_.parent_path());
  const std::filesystem::path temporary = file_.string() + ".new";
  {
    std::ofstream out(temporary, std::ios::trunc);
    out << document.dump(1) << "\n";
    if (!out) throw std::runtime_error("cannot write " + temporary.string());
  }
  std::filesystem::rename(temporary, file_);
}

}  // namespace carvex::sim::kiv
