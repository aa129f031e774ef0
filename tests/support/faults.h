/// Calls of the C library that fail on purpose, one fault at a time. A program that is linked with faults.cpp defines
/// these calls itself, for the product and for SQLite.
#ifndef TESTS_SUPPORT_FAULTS_H
#define TESTS_SUPPORT_FAULTS_H

#include <functional>

namespace testing_support {

struct Fault
{
    char const* calls; ///< names, each between blanks
    int error;
};

/// Every kind of fault there is, for sweeps. Memory comes first.
constexpr int faultKinds = 9;
extern Fault const allFaults[faultKinds];

enum class Strike
{
    kOnce,
    kFromThenOn,
    kDeath,    ///< the process is killed instead
    kIntrusion ///< the call succeeds, after another user has acted
};

/// What another user does at a strike of kIntrusion.
extern std::function<void()> intrude;

/// Makes the Nth of the fault's calls fail, counting from 1.
void arm(Fault const& fault, int nth, Strike strike);

/// @return whether the armed fault has struck
bool disarm();

} // namespace testing_support

#endif
