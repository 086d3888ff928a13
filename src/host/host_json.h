#pragma once

#include <json/json.h>

#include "host/orbHostOSInfo.h"

/// The host's object of the inventory document. A host without addresses is reported at 127.0.0.1;
/// `CollectionInfo` is there for the type "RemoteSupport" only. Pure.
Json::Value host_object(const orbHostOSInfo &host, const orbCollectionInfo &collection);
