// What a journal costs beside the call without one.
#pragma once

#include <cstddef>

namespace bench {

// Secures the tree of that many directories on the made-up machine, which must be in place, and takes it back: prints
// the time for an object of each step, and the memory of the process until then.
void runJournal(size_t directories);

double microseconds();
double peakMegabytes();

} // namespace bench
