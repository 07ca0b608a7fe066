// Fills the table with the functions of the producer.
#include "simulator/function_table.h"

#include "simulator/producer/producer_functions.h"

namespace simulator
{

const gentl::FunctionTable& functionTable()
{
    static const gentl::FunctionTable table = [] {
        gentl::FunctionTable functions;
        functions.GCInitLib = &producer::api::GCInitLib;
        functions.GCCloseLib = &producer::api::GCCloseLib;
        functions.GCGetInfo = &producer::api::GCGetInfo;
        functions.GCGetLastError = &producer::api::GCGetLastError;
        functions.GCReadPort = &producer::api::GCReadPort;
        functions.GCWritePort = &producer::api::GCWritePort;
        functions.GCGetPortURL = &producer::api::GCGetPortURL;
        functions.GCGetPortInfo = &producer::api::GCGetPortInfo;
        functions.GCRegisterEvent = &producer::api::GCRegisterEvent;
        functions.GCUnregisterEvent = &producer::api::GCUnregisterEvent;
        functions.EventGetData = &producer::api::EventGetData;
        functions.EventGetDataInfo = &producer::api::EventGetDataInfo;
        functions.EventGetInfo = &producer::api::EventGetInfo;
        functions.EventFlush = &producer::api::EventFlush;
        functions.EventKill = &producer::api::EventKill;
        functions.TLOpen = &producer::api::TLOpen;
        functions.TLClose = &producer::api::TLClose;
        functions.TLGetInfo = &producer::api::TLGetInfo;
        functions.TLGetNumInterfaces = &producer::api::TLGetNumInterfaces;
        functions.TLGetInterfaceID = &producer::api::TLGetInterfaceID;
        functions.TLGetInterfaceInfo = &producer::api::TLGetInterfaceInfo;
        functions.TLOpenInterface = &producer::api::TLOpenInterface;
        functions.TLUpdateInterfaceList = &producer::api::TLUpdateInterfaceList;
        functions.IFClose = &producer::api::IFClose;
        functions.IFGetInfo = &producer::api::IFGetInfo;
        functions.IFGetNumDevices = &producer::api::IFGetNumDevices;
        functions.IFGetDeviceID = &producer::api::IFGetDeviceID;
        functions.IFUpdateDeviceList = &producer::api::IFUpdateDeviceList;
        functions.IFGetDeviceInfo = &producer::api::IFGetDeviceInfo;
        functions.IFOpenDevice = &producer::api::IFOpenDevice;
        functions.DevGetPort = &producer::api::DevGetPort;
        functions.DevGetNumDataStreams = &producer::api::DevGetNumDataStreams;
        functions.DevGetDataStreamID = &producer::api::DevGetDataStreamID;
        functions.DevOpenDataStream = &producer::api::DevOpenDataStream;
        functions.DevGetInfo = &producer::api::DevGetInfo;
        functions.DevClose = &producer::api::DevClose;
        functions.DSAnnounceBuffer = &producer::api::DSAnnounceBuffer;
        functions.DSAllocAndAnnounceBuffer = &producer::api::DSAllocAndAnnounceBuffer;
        functions.DSFlushQueue = &producer::api::DSFlushQueue;
        functions.DSStartAcquisition = &producer::api::DSStartAcquisition;
        functions.DSStopAcquisition = &producer::api::DSStopAcquisition;
        functions.DSGetInfo = &producer::api::DSGetInfo;
        functions.DSGetBufferID = &producer::api::DSGetBufferID;
        functions.DSClose = &producer::api::DSClose;
        functions.DSRevokeBuffer = &producer::api::DSRevokeBuffer;
        functions.DSQueueBuffer = &producer::api::DSQueueBuffer;
        functions.DSGetBufferInfo = &producer::api::DSGetBufferInfo;
        functions.GCGetNumPortURLs = &producer::api::GCGetNumPortURLs;
        functions.GCGetPortURLInfo = &producer::api::GCGetPortURLInfo;
        functions.GCReadPortStacked = &producer::api::GCReadPortStacked;
        functions.GCWritePortStacked = &producer::api::GCWritePortStacked;
        functions.DSGetBufferChunkData = &producer::api::DSGetBufferChunkData;
        functions.IFGetParentTL = &producer::api::IFGetParentTL;
        functions.DevGetParentIF = &producer::api::DevGetParentIF;
        functions.DSGetParentDev = &producer::api::DSGetParentDev;
        functions.DSGetNumBufferParts = &producer::api::DSGetNumBufferParts;
        functions.DSGetBufferPartInfo = &producer::api::DSGetBufferPartInfo;
        functions.DSGetBufferInfoStacked = &producer::api::DSGetBufferInfoStacked;
        functions.DSGetBufferPartInfoStacked = &producer::api::DSGetBufferPartInfoStacked;
        return functions;
    }();
    return table;
}

} // namespace simulator
