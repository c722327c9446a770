#include "app/RunFlags.h"

AppState gApp;
