#include "options/RunFlags.h"

AppState gApp;
