#include "platform/seam.h"

namespace sim::socket_error {

QString tlsFailure(const QString& reason) {
    return QStringLiteral("TLS failed: ") + reason;
}

QString description(int number) {
    switch (number) {
    case kPermissionDenied:
        return QStringLiteral("Permission denied");
    case kTlsFailed:
        return QStringLiteral("TLS failed");
    case kInvalidArgument:
        return QStringLiteral("Invalid argument");
    case kAddressInUse:
        return QStringLiteral("Address in use");
    case kAddressNotAvailable:
        return QStringLiteral("Address not available from the local machine");
    case kNetworkUnreachable:
        return QStringLiteral("The network cannot be reached from this host at this time");
    case kConnectionAborted:
        return QStringLiteral("Connection is aborted due to timeout or other failure");
    case kConnectionReset:
        return QStringLiteral("The connection is reset by remote side");
    case kNoBufferSpace:
        return QStringLiteral("No buffer space is available");
    case kNotConnected:
        return QStringLiteral("Socket is not connected");
    case kTimedOut:
        return QStringLiteral("Attempt to connect timed out");
    case kConnectionRefused:
        return QStringLiteral("Connection is forcefully rejected");
    case kHostUnreachable:
        return QStringLiteral("No route to host");
    case kHostNotFound:
        return QStringLiteral("Authoritative answer: Host not found");
    case kWrongProtocolOrState:
        return QStringLiteral("Wrong protocol or connection state for the requested transaction or request");
    case kInvalidArgumentFormat:
        return QStringLiteral(
            "The argument passed to a function was not in the correct format or in the specified range");
    case kInvalidOperation:
        return QStringLiteral("Invalid operation at current state");
    default:
        return QStringLiteral("Socket error %1").arg(number);
    }
}

} // namespace sim::socket_error
