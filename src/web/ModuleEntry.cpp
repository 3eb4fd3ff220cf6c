#include "EngineParts.h"
#include "Module.h"

TESKAL_MODULE(teskal::WebParts, teskal::EngineParts)
