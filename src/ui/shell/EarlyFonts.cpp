#include "EarlyFonts.h"

#include <dlfcn.h>

namespace teskal {

EarlyFonts::EarlyFonts()
    : reader_([] {
          // Of fontconfig, when that is what Qt was built with.
          if (const auto init = reinterpret_cast<int (*)()>(dlsym(RTLD_DEFAULT, "FcInit")))
              init();
      }) {}

void EarlyFonts::finish() {
    if (reader_.joinable())
        reader_.join();
}

} // namespace teskal
