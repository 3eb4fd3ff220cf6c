#include "Tokens.h"

#include "RecordFields.h"

namespace teskal {

template<>
struct RecordFields<Tokens> {
    static constexpr auto list = std::tuple{
        requiredField("accessToken", &Tokens::accessToken),
        optionalField("refreshToken", &Tokens::refreshToken),
        requiredField("expiresAt", &Tokens::expiresAt),
    };
};

TESKAL_INSTANTIATE_CODEC(Tokens);

} // namespace teskal
