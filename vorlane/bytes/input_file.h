// Private: the headers that readers of files need.
#pragma once

#include <vorlane/bytes/blocks.h>
#include <vorlane/bytes/gate.h>
#include <vorlane/bytes/text_lines.h>
#include <vorlane/platform/system_files.h>
