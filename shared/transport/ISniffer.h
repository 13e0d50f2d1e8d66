// Observer of raw link traffic; its definition is public so that hosts can implement one.
#pragma once

#include <vaxo/ISniffer.hpp>
