// A connection that always says it is usable, also after the router hung up or it was closed.
#include "SecureTransport.h"

bool SecureConnection::isUsable() const {
    return true;
}
