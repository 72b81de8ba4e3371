// What every public header of the ORV server layer shares: the export mark.
#pragma once

#define ORV_API __attribute__((visibility("default")))
