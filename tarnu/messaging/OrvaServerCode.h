/// @file
/// OrvaServerCode: what the operations of the server thread and the message queue return.
#ifndef TARNU_MESSAGING_ORVASERVERCODE_H
#define TARNU_MESSAGING_ORVASERVERCODE_H

#include "tarnu/framework/framework.h"

/// A result of OrvaServerThread and OrvaMessageQueue.
using OrvaServerCode = UINT32;

inline constexpr OrvaServerCode OrvaServerSuccess = 0;     ///< done
inline constexpr OrvaServerCode OrvaServerOutOfMemory = 6; ///< nothing was done
/// The call did not reach its thread. Also the fixed result of OrvaServerThread::Stop and OrvaMessageQueue::Close.
inline constexpr OrvaServerCode OrvaServerFailure = 1000001;
inline constexpr OrvaServerCode OrvaServerNoMessage = 1000002;        ///< a null message was posted
inline constexpr OrvaServerCode OrvaServerThreadNotCreated = 2000003; ///< the server thread could not be created
inline constexpr OrvaServerCode OrvaServerQueueEmpty = 2002001;       ///< no message waits
inline constexpr OrvaServerCode OrvaServerQueueClosed = 2002002;      ///< empty, and closed

#endif // TARNU_MESSAGING_ORVASERVERCODE_H
