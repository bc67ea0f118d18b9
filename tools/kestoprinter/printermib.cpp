#include "kestoprinter/printermib.h"

#include <algorithm>
#include <initializer_list>
#include <iterator>

namespace kesto::printer {
namespace {

constexpr std::uint32_t DEVICE = 1;        ///< the printer's index among the host's devices
constexpr std::uint32_t MARKER = 1;        ///< its one print engine
constexpr std::uint32_t LOCALIZATION = 1;  ///< its one language

constexpr int LOW_PERCENT = 5;  ///< toner is called low from here on, as the spooler does by itself
constexpr int CS_UTF8 = 106;    ///< the IANA's number of the character set
enum ErrorState : std::uint8_t { LOW_TONER = 0x20, NO_TONER = 0x10 };
enum DeviceStatus { RUNNING = 2, WARNING = 3, DOWN = 5 };
enum PrinterStatus { IDLE = 3, PRINTING = 4 };

/// Adds objects below one point of the tree.
class Branch {
 public:
  Branch(ObjectTable& objects, std::initializer_list<std::uint32_t> root) : objects_(objects), root_(root) {}

  void add(std::initializer_list<std::uint32_t> name, Bytes value) {
    Oid oid = root_;
    oid.insert(oid.end(), name);
    objects_.insert_or_assign(std::move(oid), std::move(value));
  }

 private:
  ObjectTable& objects_;
  Oid root_;
};

std::uint8_t errorState(const Supplies& supplies) {
  std::uint8_t state = 0;
  for (const Toner& toner : supplies.toners()) {
    if (toner.percent == 0) {
      state |= NO_TONER;
    } else if (toner.percent <= LOW_PERCENT) {
      state |= LOW_TONER;
    }
  }
  return state;
}

void addSystem(ObjectTable& objects, const PrinterState& state) {
  Branch system(objects, {1, 3, 6, 1, 2, 1, 1});
  system.add({1, 0}, berOctets(MAKE_AND_MODEL));                 // sysDescr
  system.add({3, 0}, berInteger(state.upTime, BER_TIME_TICKS));  // sysUpTime
  system.add({5, 0}, berOctets("kestoprinter"));                 // sysName
}

void addDevice(ObjectTable& objects, const PrinterState& state) {
  const std::uint8_t mask = state.panel.mask();
  const std::uint8_t errors = errorState(state.panel.supplies());
  int status = RUNNING;
  if ((mask & MASK_WARNINGS) != 0 || errors != 0) status = WARNING;
  if ((mask & MASK_ERRORS) != 0 || (errors & NO_TONER) != 0) status = DOWN;
  Branch device(objects, {1, 3, 6, 1, 2, 1, 25, 3});
  device.add({2, 1, 1, DEVICE}, berInteger(DEVICE));                            // hrDeviceIndex
  device.add({2, 1, 2, DEVICE}, berOid({1, 3, 6, 1, 2, 1, 25, 3, 1, 5}));       // hrDeviceType: hrDevicePrinter
  device.add({2, 1, 3, DEVICE}, berOctets(MAKE_AND_MODEL));                     // hrDeviceDescr
  device.add({2, 1, 4, DEVICE}, berOid({0, 0}));                                // hrDeviceID: unknown
  device.add({2, 1, 5, DEVICE}, berInteger(status));                            // hrDeviceStatus
  device.add({5, 1, 1, DEVICE}, berInteger(state.printing ? PRINTING : IDLE));  // hrPrinterStatus
  device.add({5, 1, 2, DEVICE}, berElement(BER_OCTET_STRING, {errors}));        // hrPrinterDetectedErrorState
}

void addPrinter(ObjectTable& objects, const PrinterState& state) {
  Branch printer(objects, {1, 3, 6, 1, 2, 1, 43});
  printer.add({5, 1, 1, 2, DEVICE}, berInteger(LOCALIZATION));           // prtGeneralCurrentLocalization
  printer.add({5, 1, 1, 16, DEVICE}, berOctets(MAKE_AND_MODEL));         // prtGeneralPrinterName
  printer.add({7, 1, 1, 2, DEVICE, LOCALIZATION}, berOctets("en"));      // prtLocalizationLanguage
  printer.add({7, 1, 1, 4, DEVICE, LOCALIZATION}, berInteger(CS_UTF8));  // prtLocalizationCharacterSet
  printer.add({10, 2, 1, 2, DEVICE, MARKER}, berInteger(4));             // prtMarkerMarkTech: laser
  printer.add({10, 2, 1, 3, DEVICE, MARKER}, berInteger(7));             // prtMarkerCounterUnit: impressions
  printer.add({10, 2, 1, 4, DEVICE, MARKER}, berInteger(state.pages, BER_COUNTER32));  // prtMarkerLifeCount
}

/// prtMarkerSuppliesTable and prtMarkerColorantTable, a row each for every toner.
void addSupplies(ObjectTable& objects, const Supplies& supplies) {
  Branch supply(objects, {1, 3, 6, 1, 2, 1, 43, 11, 1, 1});
  Branch colorant(objects, {1, 3, 6, 1, 2, 1, 43, 12, 1, 1});
  std::uint32_t row = 0;
  for (const Toner& toner : supplies.toners()) {
    ++row;
    supply.add({2, DEVICE, row}, berInteger(MARKER));
    supply.add({3, DEVICE, row}, berInteger(row));  // of the colorant
    supply.add({4, DEVICE, row}, berInteger(3));    // class: consumed
    supply.add({5, DEVICE, row}, berInteger(21));   // type: toner cartridge
    supply.add({6, DEVICE, row}, berOctets(toner.description));
    supply.add({7, DEVICE, row}, berInteger(19));   // unit: percent
    supply.add({8, DEVICE, row}, berInteger(100));  // maximum
    supply.add({9, DEVICE, row}, berInteger(toner.percent));
    colorant.add({2, DEVICE, row}, berInteger(MARKER));
    colorant.add({3, DEVICE, row}, berInteger(3));  // role: process
    colorant.add({4, DEVICE, row}, berOctets(toner.colorant));
    colorant.add({5, DEVICE, row}, berInteger(2));  // tonality
  }
}

}  // namespace

ObjectTable objectsOf(const PrinterState& state) {
  ObjectTable objects;
  addSystem(objects, state);
  addDevice(objects, state);
  addPrinter(objects, state);
  addSupplies(objects, state.panel.supplies());
  Branch portMonitor(objects, {1, 3, 6, 1, 4, 1, 2699, 1, 2, 1, 2, 1, 1});
  portMonitor.add({2, DEVICE}, berOctets(MAKE_AND_MODEL));  // ppmPrinterName
  portMonitor.add({3, DEVICE}, berOctets(DEVICE_ID));       // ppmPrinterIEEE1284DeviceId
  return objects;
}

}  // namespace kesto::printer
