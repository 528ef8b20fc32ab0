// The call stack of this process, for reports of fatal signals.
#pragma once

namespace orvo {

// Writes up to max_frames entries (at most 128) to the descriptor; -1 stands for the log file.
// The log file gets a banner before and after in either case.
void WriteBacktrace(int max_frames, int fd);

}  // namespace orvo
