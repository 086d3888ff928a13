#include "storage/storage_json.h"

#include "core/status_words.h"
#include "storage/orbDiskInfo.h"
#include "storage/orbLogicalDiskInfo.h"
#include "storage/orbStorageControllerInfo.h"

namespace {
Json::Value status_object(orbStatusInfo &status) {
    Json::Value object(Json::objectValue);
    object["State"] = state_text(status.getState());
    object["Health"] = health_text(status.getHealth());
    return object;
}
} // namespace

Json::Value storage_controller_object(orbStorageControllerInfo &controller) {
    Json::Value object(Json::objectValue);
    object["Model"] = controller.getModel();
    object["SerialNumber"] = controller.getSerialNumber();
    object["PartNumber"] = controller.getPartNumber();
    object["FirmwareVersion"] = controller.getFirmwareVersion();
    object["Protocol"] = controller.getProtocol();
    object["Manufacturer"] = controller.getManufacturer();
    object["Status"] = status_object(controller);
    Json::Value &oem = object["Oem"];
    oem["Description"] = controller.getDescription();
    oem["PhysicalLocation"] = controller.getPhysicalLocation();
    return object;
}

Json::Value drive_object(orbDiskInfo &drive) {
    Json::Value object(Json::objectValue);
    object["SerialNumber"] = drive.getSerialNumber();
    object["PartNumber"] = drive.getPartNumber();
    object["Model"] = drive.getModel();
    object["CapacityBytes"] = Json::UInt64{drive.getCapacityBytes()};
    object["Protocol"] = drive.getProtocol();
    object["MediaType"] = drive.getMediaType();
    object["Revision"] = drive.getRevision();
    object["Manufacturer"] = drive.getManufacturer();
    object["Status"] = status_object(drive);
    Json::Value &oem = object["Oem"];
    oem["Slot"] = drive.getSlot();
    oem["PhysicalLocation"] = drive.getPhysicalLocation();
    return object;
}

Json::Value volume_object(orbLogicalDiskInfo &volume) {
    Json::Value object(Json::objectValue);
    object["DurableName"] = volume.getDurableName();
    object["VolumeType"] = volume.getRAIDLevel();
    object["CapacityBytes"] = Json::UInt64{volume.getCapacityBytes()};
    for (std::size_t i = 0; i < volume.getPhysicalDiskListSize(); ++i)
        object["Drives"].append(volume.getPhysicalDisk(i));
    object["Status"] = status_object(volume);
    object["Oem"]["DeviceName"] = volume.getDeviceName();
    return object;
}
