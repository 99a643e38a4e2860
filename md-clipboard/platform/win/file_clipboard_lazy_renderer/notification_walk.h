// The records of one completed directory read (FILE_NOTIFY_INFORMATION), walked without trust in what they say.
#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <string>

namespace sd::clip {

constexpr std::size_t kMostNotificationNameUnits = 4096;

enum class WalkStep { kGoOn, kAbandon };

// Calls `visit` with the action and the name (UTF-16, relative to the watched root) of each record, until it says to
// abandon the rest or a record lies: a length of 0, odd, over kMostNotificationNameUnits or past the end of the buffer;
// an offset that leads backwards, into its own record or past the end.
//
// Decision: the last of several records is passed over, as it always was. A buffer with one record has it visited.
//
// @param size bytes of the whole buffer, which is zeroed behind its records
// Threads: any.
void walkNotifications(const unsigned char* bytes, std::size_t size,
                       const std::function<WalkStep(std::uint32_t action, const std::u16string& name)>& visit);

}  // namespace sd::clip
