#include "platform/runtime_failure.h"

namespace sim {

RuntimeFailure::RuntimeFailure(int number) : RuntimeFailure(number, failure::description(number)) {}

namespace failure {

QString description(int number) {
    switch (number) {
    case kInvalidProcedureCall:
        return QStringLiteral("Invalid procedure call or argument");
    case kOverflow:
        return QStringLiteral("Overflow");
    case kSubscriptOutOfRange:
        return QStringLiteral("Subscript out of range");
    case kTypeMismatch:
        return QStringLiteral("Type mismatch");
    case kInvalidPropertyValue:
        return QStringLiteral("Invalid property value");
    case kCancelSelected:
        return QStringLiteral("Cancel was selected.");
    default:
        return QStringLiteral("Run-time error %1").arg(number);
    }
}

} // namespace failure
} // namespace sim
