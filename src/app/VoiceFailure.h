#pragma once

#include "Error.h"

namespace teskal {

/// Why a recording did not begin; the text is for the user.
class VoiceFailure : public Error {
public:
    enum class Kind { Denied, CouldNotStart };

    explicit VoiceFailure(Kind kind);

    Kind kind() const { return kind_; }

private:
    Kind kind_;
};

} // namespace teskal
