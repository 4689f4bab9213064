#pragma once

#include <string>
#include <vector>

#include "GlimtoTake/Media/TakeExamination.h"
#include "TakeExport.h"
#include "TakeRepair.h"

namespace glimto {

// What `info` prints: lines for people, or one line of JSON.
std::vector<std::string> infoLines(const TakeExamination& take);
std::string infoJSON(const TakeExamination& take);

// What `repair` prints.
std::vector<std::string> repairLines(const RepairReport& report, RepairMode mode);
std::string repairJSON(const RepairReport& report, RepairMode mode);

// What `export` prints.
std::string exportLine(const ExportReport& report);
std::string exportJSON(const ExportReport& report);

} // namespace glimto
