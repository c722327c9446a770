#include "runs/RunResults.h"

RunResults gRun;
