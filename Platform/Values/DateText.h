// Dates as text. Free functions, any thread.
#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "Platform/Values/Value.h"

namespace quillmore::platform {

/// "yyyy-MM-dd", `between`, "HH:mm:ss", `after`, in UTC. Fractions are cut; the years are held
/// within 1 to 9999, which is what the text can say; not-a-number is the reference date.
std::string textFromDate(const Date& date, std::string_view between, std::string_view after);
/// Reads "yyyy-MM-ddTHH:mm:ssZ"; nothing for any other text or a day that does not exist.
std::optional<Date> dateFromText(std::string_view text);

}  // namespace quillmore::platform
