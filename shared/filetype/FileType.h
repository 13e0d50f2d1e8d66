// Program file types: the table and its lookups are public (<vaxo/FileType.hpp>).
#pragma once

#include <vaxo/FileType.hpp>
