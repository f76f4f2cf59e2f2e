#pragma once
// Translation of XPath 2.0 regular expressions (XML Schema syntax plus the XPath
// additions) into ICU patterns. Declared in xpath_regex.h: translateRegex.

#include "xpath/xpath_regex.h"
