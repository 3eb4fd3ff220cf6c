#include "FailureText.h"

#include "APIError.h"
#include "AuthError.h"
#include "HttpError.h"
#include "JsonError.h"

namespace teskal {

namespace {

bool isOffline(HttpError::Kind kind) {
    return kind == HttpError::Kind::Offline || kind == HttpError::Kind::ConnectionLost ||
           kind == HttpError::Kind::TimedOut;
}

} // namespace

MessageError messageError(const std::exception_ptr& failure) {
    try {
        std::rethrow_exception(failure);
    } catch (const APIError& error) {
        return {error.code(), error.text()};
    } catch (const AuthError& error) {
        if (error.kind() == AuthError::Kind::SignedOut)
            return {QStringLiteral("SIGNED_OUT"), error.text()};
        return {std::nullopt, error.text()};
    } catch (const HttpError& error) {
        if (isOffline(error.kind()))
            return {QStringLiteral("OFFLINE"),
                    QStringLiteral("You’re offline. Check your connection and try again.")};
        return {std::nullopt, error.text()};
    } catch (const JsonError&) {
        return {std::nullopt,
                QStringLiteral("Teskal sent something this app doesn’t understand yet. Update the app.")};
    } catch (const Error& error) {
        return {std::nullopt, error.text()};
    } catch (const std::exception& error) { // no memory, for one
        return {std::nullopt, QString::fromLocal8Bit(error.what())};
    }
}

} // namespace teskal
