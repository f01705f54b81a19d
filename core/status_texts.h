// Texts of the status codes of every family, for qor_status_string and
// qor_family_status_string.
#pragma once

namespace qor::core {

// Text of `status` in the family's table (QOR_FAMILY_...), falling back to
// the initialisation statuses that every family's calls may return; null
// when neither knows the code.
const char* family_status_text(int family, int status);

}  // namespace qor::core
