#pragma once

#include <cstdint>

#include "qel/enums/enum_info.h"

// The rows in table order: enumerator, value.
#define QEL_ENUM_ROWS_DeviceClass(ROW) \
  ROW(UnknownDevice, 0)                \
  ROW(HardDrive, 1)                    \
  ROW(Printer, 3)                      \
  ROW(FloppyDrive, 4)                  \
  ROW(OpticalDrive, 5)                 \
  ROW(Modem, 6)                        \
  ROW(MultifuncDevice, 9)              \
  ROW(SmartCardReader, 10)             \
  ROW(PortableDevice, 11)              \
  ROW(WiFiAdapter, 13)                 \
  ROW(NetworkAdapter, 14)              \
  ROW(BluetoothDevice, 15)             \
  ROW(ImagingDevice, 16)               \
  ROW(SerialPort, 17)                  \
  ROW(ParallelPort, 18)                \
  ROW(InputDevice, 19)                 \
  ROW(VideoAdapter, 20)                \
  ROW(SoundAdapter, 21)

namespace qel::DeviceClass {
enum Type : uint32_t { QEL_ENUM_ROWS_DeviceClass(QEL_ENUM_ENUMERATOR) };
}  // namespace qel::DeviceClass

QEL_ENUM_INFO(DeviceClass, 50, true, true)
