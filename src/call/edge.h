#include "src/outcome/edge.h"
