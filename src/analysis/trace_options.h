// Options of traces, dumps, stop point and debugger that do nothing as they were combined: the user should hear
// of that.
#pragma once

namespace orvo {

class ArgsManager;

// A line on standard error for each.
void WarnAboutIdleOptions(const ArgsManager& args);

}  // namespace orvo
