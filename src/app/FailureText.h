#pragma once

#include "MessageError.h"

#include <exception>

namespace teskal {

/// The error that \a failure leaves on a message: the service's code and text, "SIGNED_OUT" for a sign-in
/// that could not be renewed, "OFFLINE" for a lost or missing connection, else the failure's own text.
MessageError messageError(const std::exception_ptr& failure);

} // namespace teskal
