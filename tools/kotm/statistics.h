#ifndef KOTM_STATISTICS_H
#define KOTM_STATISTICS_H

#include <cstddef>
#include <iosfwd>
#include <string>

namespace kotm
{

struct StatisticsRequest {
    std::string store;
    std::string attribute; ///< empty: all of them
    bool json = false;
    std::size_t width = 80; ///< characters of a line
};

/// Shows what is known of the values of a store's attributes, or of one attribute with its common
/// values and the histogram. Throws ko::store::Error, also (Usage) for a store that has no
/// statistics.
void ShowStatistics(const StatisticsRequest& request, std::ostream& out);

/// Makes the statistics of a store anew, and tells `messages` of how many objects.
void Analyze(const std::string& store, std::ostream& messages);

} // namespace kotm

#endif
