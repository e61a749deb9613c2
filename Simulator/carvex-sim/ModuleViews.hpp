// The module views: what the driver's client layer reported in a boot
// (modules, capacity totals, regions, namespaces, pending goals) and the
// controller's audit log, as aligned tables.
#pragma once

#include <optional>
#include <ostream>
#include <set>
#include <string>

#include <nlohmann/json.hpp>

#include "Bmc/BmcModel.h"
#include "Devices/ClientProbe.hpp"

namespace carvex::sim::cli {

enum class View { Modules, Regions, Namespaces, Goals, Audit };

// "modules,regions" or "all"; throws std::invalid_argument naming an
// unknown view.
std::set<View> ParseViews(const std::string& text);

void PrintViews(std::ostream& out, const std::set<View>& views, const devices::Inspection& inspection,
                const BMC_MODEL& bmc);

// The same views as one JSON object (schema in README.md).
nlohmann::json ViewsJson(const std::set<View>& views, const devices::Inspection& inspection, const BMC_MODEL& bmc);

}  // namespace carvex::sim::cli
