#include "disk_sys/smart_names.h"

#include <array>

namespace bayhal {
namespace {

constexpr const char* kUnknown = "Unknown_Attribute";

struct NameRow {
  unsigned char id;
  const char* name;
  const char* kind2;  // nullptr: the same in both kinds
};

constexpr NameRow kNames[] = {
    {1, "Raw_Read_Error_Rate", "Read_Error_Rate"},
    {2, "Throughput_Performance", nullptr},
    {3, "Spin_Up_Time", nullptr},
    {4, "Start_Stop_Count", nullptr},
    {5, "Retired_Block_Count", "Reallocated_Sectors_Count"},
    {6, "Read_Channel_Margin", nullptr},
    {7, "Seek_Error_Rate", nullptr},
    {8, "Seek_Time_Performance", nullptr},
    {9, "Power-On_Hours", nullptr},
    {10, "Spin_Retry_Count", nullptr},
    {11, "Calibration_Retry_Count", nullptr},
    {12, "Power_Cycle_Count", nullptr},
    {16, "Gas_Gauge", nullptr},
    {100, "Gigabytes_Erased", nullptr},
    {160, kUnknown, "Uncorrectable_Sectors_Count_When_Read/Write"},
    {161, kUnknown, "Number_Of_Valid_Spare_Blocks"},
    {163, kUnknown, "Number_Of_Initial_Invalid_Blocks"},
    {164, kUnknown, "Total_Erase_Count"},
    {165, kUnknown, "Maximum_Erase_Count"},
    {166, kUnknown, "Minimum_Erase_Count"},
    {167, kUnknown, "Average_Erase_Count"},
    {168, kUnknown, "Max_Erase_Count_Of_Spec"},
    {169, kUnknown, "Remain_Life_(percentage)"},
    {170, "Reserve_Block_Count", nullptr},
    {171, "Program_Fail_Count", nullptr},
    {172, "Erase_Fail_Count", nullptr},
    // The wear-levelling count most SSD makers report under 173.
    {173, "SSD_Wear_Leveling_Count", nullptr},
    {174, "Unexpected_Power_Loss", nullptr},
    {175, "Program_Fail_Count_Chip", "Program_Fail_Count_In_Worst_Die"},
    {176, "Erase_Fail_Count_Chip", "Erase_Fail_Count_In_Worst_Die"},
    {177, "Wear_Range_Delta", "Total_Wear_Level_Count"},
    {178, "Used_Rsvd_Blk_Cnt_Chip", "Runtime_Invalid_Block_Count"},
    {179, "Used_Rsvd_Blk_Cnt_Tot", nullptr},
    {180, "Unused_Rsvd_Blk_Cnt_Tot", nullptr},
    {181, "Program_Fail_Count", "Total_Program_Fail_Count"},
    {182, "Erase_Fail_Count", "Total_Erase_Fail_Count"},
    {183, "Runtime_Bad_Block", nullptr},
    {184, "End-to-End_Error", nullptr},
    {187, "Reported_Uncorrect_Error", "Uncorrectable_Error_Count"},
    {188, "Command_Timeout", nullptr},
    {189, "High_Fly_Writes", nullptr},
    {190, "Airflow_Temperature_Cel", nullptr},
    {192, "Power-Off_Retract_Count", nullptr},
    {194, "Temperature_Celsius", "Controlled_Temperature"},
    {195, "ECC_On-The-Fly_Error", "Hardware_ECC_Recovered"},
    {196, "Reallocated_Event_Count", nullptr},
    {197, "Current_Pending_Sector", "Current_Pending_Sector_Count"},
    {198, "Uncorrectable_Sector_Count", "Uncorrectable_Error_Count_Off-Line"},
    {199, "SATA_R-Error_Count", "Ultra_Dma_CRC_Error_Count"},
    {200, "Multi_Zone_Error_Rate", nullptr},
    {201, "Soft_Read_Error_Rate", nullptr},
    {202, "Data_Address_Mark_Errs", nullptr},
    {203, "Run_Out_Cancel", nullptr},
    {204, "Soft_ECC_Correction", nullptr},
    {205, "Thermal_Asperity_Rate", nullptr},
    {206, "Flying_Height", nullptr},
    {207, "Spin_High_Current", nullptr},
    {208, "Spin_Buzz", nullptr},
    {209, "Offline_Seek_Performnce", nullptr},  // the established spelling
    {220, "Disk_Shift", nullptr},
    {221, "G-Sense_Error_Rate", nullptr},
    {222, "Loaded_Hours", nullptr},
    {223, "Load_Retry_Count", nullptr},
    {224, "Load_Friction", nullptr},
    {226, "Load-in_Time", nullptr},
    {227, "Torq-amp_Count", nullptr},
    {228, "Power-off_Retract_Count", nullptr},
    {230, "Drive_Protection_Status", nullptr},
    {231, "SSD_Life_Left", nullptr},
    {232, "Available_Reservd_Space", nullptr},
    {233, "Media_Wearout_Indicator", nullptr},
    {235, "Power_Fail_Backup_Health", nullptr},
    {240, "Head_Flying_Hours", nullptr},
    {241, "Total_LBA_Written", "Total_LBA_Written_(32MB)"},
    {242, "Total_LBA_Read", "Total_LBA_Read_(32MB)"},
    {245, kUnknown, "Flash_Write_Sector_Count"},
    {250, "Read_Error_Retry_Rate", nullptr},
    {254, "Free_Fall_Sensor", nullptr},
};

// Indexed by number, built once at compile time: a reading looks up 30 names.
struct Index {
  std::array<const NameRow*, 256> by_id{};
  constexpr Index() {
    for (const NameRow& r : kNames) by_id[r.id] = &r;
  }
};
constexpr Index kIndex;

// Every name of both kinds, each in a zero-padded 64-byte field.
struct Padded {
  char name[2][256][64]{};
  constexpr Padded() {
    for (int kind = 0; kind < 2; ++kind)
      for (unsigned id = 0; id < 256; ++id) {
        const char* src = kUnknown;
        if (id >= 1 && id <= 254 && kIndex.by_id[id] != nullptr)
          src = kind == 1 && kIndex.by_id[id]->kind2 ? kIndex.by_id[id]->kind2 : kIndex.by_id[id]->name;
        for (int i = 0; i < 63 && src[i] != '\0'; ++i) name[kind][id][i] = src[i];
      }
  }
};
constexpr Padded kPadded;

}  // namespace

const SmartName64* smart_attr_names64(int kind) { return kPadded.name[kind == 2 ? 1 : 0]; }

const char* smart_attr_name(unsigned id, int kind) {
  if (id < 1 || id > 254 || kIndex.by_id[id] == nullptr) return kUnknown;
  const NameRow& r = *kIndex.by_id[id];
  return kind == 2 && r.kind2 != nullptr ? r.kind2 : r.name;
}

}  // namespace bayhal
