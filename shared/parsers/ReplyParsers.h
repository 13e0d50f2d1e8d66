// Everything the commands need to read reply texts: the text parsers, the numeric line
// parsers, the listing parsers, the frame-group parser and the item conversions.
#pragma once

#include "shared/parsers/FrameGroupReplyParser.h"
#include "shared/parsers/FromChars.h"
#include "shared/parsers/ListReplyParsers.h"
#include "shared/parsers/NumericReplyParser.h"
#include "shared/parsers/ParserTypes.h"
#include "shared/parsers/TextReplyParsers.h"
