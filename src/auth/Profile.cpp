#include "Profile.h"

#include "RecordFields.h"

namespace teskal {

template<>
struct RecordFields<Profile> {
    static constexpr auto list = std::tuple{
        requiredField("sub", &Profile::sub),
        optionalField("name", &Profile::name),
        optionalField("email", &Profile::email),
        optionalField("picture", &Profile::picture),
    };
};

TESKAL_INSTANTIATE_CODEC(Profile);

QString Profile::displayName() const {
    if (name && !name->isEmpty())
        return *name;
    return email.value_or(QStringLiteral("You"));
}

} // namespace teskal
