// Addresses of two kernel tables as seen through declarations without
// dllimport (see plain_import.cpp).
#pragma once

const void* plainly_imported_table();
const void* plainly_imported_costs();
