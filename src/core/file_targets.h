// Where the blocks of a file job go when they go to every module: the rows of
// the list, in the list's order, filtered by the job's model.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace torvek {

class CellTable;

// A job for the ORB730 or the ORB740 skips the rows of other models; any other
// job model goes to every row. Each row gives its LAN address (useLanIp) or its
// WAN address, as the text stands.
std::vector<std::string> FileTargetAddresses(const CellTable& modules, int jobModel, bool useLanIp);

}  // namespace torvek
