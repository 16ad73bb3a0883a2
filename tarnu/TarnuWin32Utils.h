/// @file
/// TarnuWin32Utils: everything, in one include.
#ifndef TARNU_TARNUWIN32UTILS_H
#define TARNU_TARNUWIN32UTILS_H

#include "tarnu/framework/framework.h"

// frame: message boxes, trace log, timer, progress
#include "tarnu/frame/LimitedLog.h"
#include "tarnu/frame/OrvaComErrorBox.h"
#include "tarnu/frame/OrvaMessageBox.h"
#include "tarnu/frame/OrvaProgress.h"
#include "tarnu/frame/OrvaProgressDisabler.h"
#include "tarnu/frame/OrvaRegistry.h"
#include "tarnu/frame/OrvaTimer.h"
#include "tarnu/frame/OrvaTrace.h"
#include "tarnu/frame/ProgressScope.h"

// text
#include "tarnu/text/NaturalLess.h"
#include "tarnu/text/OrvaStrings.h"
#include "tarnu/text/Tokens.h"

// paths
#include "tarnu/paths/OrvaFileAttributes.h"
#include "tarnu/paths/OrvaPath.h"
#include "tarnu/paths/PathExtras.h"

// filesystem: walkers, modification tracking, file events, folder picker
#include "tarnu/filesystem/FileRegistration.h"
#include "tarnu/filesystem/FileWatch.h"
#include "tarnu/filesystem/OrvaBasicFileMatcher.h"
#include "tarnu/filesystem/OrvaBFSDirectoryTree.h"
#include "tarnu/filesystem/OrvaBFSFileTree.h"
#include "tarnu/filesystem/OrvaBrowseForDirectory.h"
#include "tarnu/filesystem/OrvaDFSDirectoryTree.h"
#include "tarnu/filesystem/OrvaDFSFileTree.h"
#include "tarnu/filesystem/OrvaFileEventListener.h"
#include "tarnu/filesystem/OrvaFileEventMessages.h"
#include "tarnu/filesystem/OrvaFileEventServer.h"
#include "tarnu/filesystem/OrvaFileMatch.h"
#include "tarnu/filesystem/OrvaFileModifiedManager.h"
#include "tarnu/filesystem/OrvaFileModifiedStatus.h"
#include "tarnu/filesystem/OrvaWalk.h"

// files: operations on files and trees, report file, stream
#include "tarnu/files/OrvaFileOperations.h"
#include "tarnu/files/OrvaFileStream.h"
#include "tarnu/files/OrvaFileTimes.h"
#include "tarnu/files/OrvaStdioFile.h"
#include "tarnu/files/OrvaTreeOperations.h"

// memory
#include "tarnu/memory/OrvaFixedBlockAllocator.h"
#include "tarnu/memory/OrvaFixedBlockPool.h"
#include "tarnu/memory/OrvaFixedBlockStdAllocator.h"
#include "tarnu/memory/OrvaHeapGrowthProbe.h"

// geometry: point strings, face and point readers
#include "tarnu/geometry/Faces.h"
#include "tarnu/geometry/OrvaArrayPointReader.h"
#include "tarnu/geometry/OrvaMultiPolyFaceReader.h"
#include "tarnu/geometry/OrvaMultiTriFaceReader.h"
#include "tarnu/geometry/OrvaPointMarker.h"
#include "tarnu/geometry/OrvaPointNumbers.h"
#include "tarnu/geometry/OrvaPointRanges.h"
#include "tarnu/geometry/OrvaPointString.h"
#include "tarnu/geometry/OrvaSingleFaceReader.h"
#include "tarnu/geometry/OrvaSinglePointReader.h"
#include "tarnu/geometry/OrvaSortedPointString.h"
#include "tarnu/geometry/OrvaUnsortedPointString.h"
#include "tarnu/geometry/Points.h"

// messaging: callbacks, subclassing, window-message server, server thread
#include "tarnu/messaging/FunctionCallback.h"
#include "tarnu/messaging/FunctionHandler.h"
#include "tarnu/messaging/FunctionMessage.h"
#include "tarnu/messaging/MessageSubscription.h"
#include "tarnu/messaging/OrvaCallback.h"
#include "tarnu/messaging/OrvaCallbackDispatcher.h"
#include "tarnu/messaging/OrvaChangeManager.h"
#include "tarnu/messaging/OrvaHEVENTCallback.h"
#include "tarnu/messaging/OrvaMessage.h"
#include "tarnu/messaging/OrvaMessageQueue.h"
#include "tarnu/messaging/OrvaServerCode.h"
#include "tarnu/messaging/OrvaServerEventHandler.h"
#include "tarnu/messaging/OrvaServerThread.h"
#include "tarnu/messaging/OrvaSocket.h"
#include "tarnu/messaging/OrvaSubClassWnd.h"
#include "tarnu/messaging/OrvaSynchronizedSelector.h"
#include "tarnu/messaging/OrvaWndMsgServer.h"
#include "tarnu/messaging/SubClassScope.h"

// xml
#include "tarnu/xml/OrvaXml.h"
#include "tarnu/xml/OrvaXmlHelpers.h"
#include "tarnu/xml/XmlNumbers.h"

// archive
#include "tarnu/archive/OrvaZip.h"
#include "tarnu/archive/OrvaZipEntry.h"
#include "tarnu/archive/OrvaZipReader.h"
#include "tarnu/archive/OrvaZipResult.h"
#include "tarnu/archive/OrvaZipWriter.h"

#endif // TARNU_TARNUWIN32UTILS_H
