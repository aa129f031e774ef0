#include "tools/veskdb/id_mappings.h"

#include <algorithm>
#include <fstream>
#include <vector>

namespace veskdb {

namespace {

struct Range
{
    unsigned long first;
    unsigned long count;
};

using Ranges = std::vector<Range>;

Ranges readRanges(char const* path)
{
    Ranges ranges;
    std::ifstream file(path);
    unsigned long outside = {};
    for (Range range = {}; file >> range.first >> outside >> range.count;) {
        ranges.push_back(range);
    }
    return ranges;
}

bool isIn(Ranges const& ranges, unsigned long id)
{
    return ranges.empty() || std::any_of(ranges.begin(), ranges.end(), [id](Range const& range) {
               return id >= range.first && id - range.first < range.count;
           });
}

Ranges users;
Ranges groups;

} // namespace

void readIdMappings()
{
    users = readRanges("/proc/self/uid_map");
    groups = readRanges("/proc/self/gid_map");
}

bool isUserVisible(uid_t user)
{
    return isIn(users, user);
}

bool isGroupVisible(gid_t group)
{
    return isIn(groups, group);
}

} // namespace veskdb
