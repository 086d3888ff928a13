#pragma once

/// Module tags, the second argument of each log call.
constexpr char JOB_MGR[] = "JOB_MGR";
constexpr char HOST_RM[] = "HOST_RM";
constexpr char FC_RM[] = "FC_RM";
constexpr char SAS_RM[] = "SAS_RM";
constexpr char NIC_RM[] = "NIC_RM";
constexpr char NIC_CTRL[] = "NIC_CTRL";
constexpr char NIC_EVENT[] = "NIC_EVENT";
constexpr char JSON_AGGR[] = "JSON_AGGR";
constexpr char IPMI[] = "IPMI";
constexpr char IPMI_DB[] = "IPMI_DB";
constexpr char EVT_HANDLER[] = "EVT_HANDLER";
constexpr char ORB_SERVER[] = "ORB_SERVER";
constexpr char STOR_CTLR[] = "STOR_CTLR";
constexpr char STOR_FACT[] = "STOR_FACT";
constexpr char STOR_MR[] = "STOR_MR";
constexpr char STOR_LB[] = "STOR_LB";
constexpr char LSI_INTERF[] = "LSI_INTERF";
constexpr char LSI_EVENT_INTERF[] = "LSI_EVENT_INTERF";
constexpr char LSI_FACTORY[] = "LSI_FACTORY";
constexpr char SCSI_INFO[] = "SCSI_INFO";
constexpr char PL_INTF[] = "PL_INTF";
constexpr char PL_FACT[] = "PL_FACT";
constexpr char QLPL_INTF[] = "QLPL_INTF";
constexpr char ZRTKPL_INTF[] = "ZRTKPL_INTF";
constexpr char ORB_UTILS[] = "ORB_UTILS";
constexpr char ORB_MSGINFRA[] = "ORB_MSGINFRA";
constexpr char MFR[] = "MFR";
