// What is wrong with one port.
#include "poectl/diagnose/card_facts.h"
#include "poectl/diagnose/port_power.h"
#include "poectl/diagnose/rules.h"
#include "text/text.h"

#include <algorithm>
#include <iterator>

namespace {

Evidence fetFails(const CardLooks& looks, unsigned port) {
  const bool fails = channelOnce(looks, port, ChannelLine::FET_ERROR, true);
  return fails ? lastChannel(looks, port).quote(ChannelLine::FET_ERROR) : "";
}

Evidence mosfetIsHot(const CardLooks& looks, unsigned port) {
  const bool hot = channelOnce(looks, port, ChannelLine::HOT_MOSFET, true);
  return hot ? lastChannel(looks, port).quote(ChannelLine::HOT_MOSFET) : "";
}

// What a register of the chip shows is compared with the configuration; only while no recovery is due.
Evidence registersDiffer(const CardLooks& looks, unsigned port) {
  const std::optional<bool> enabled = isEnabled(looks, port);
  if (!enabled || isBusFailing(looks) || isSetUpAgain(looks)) {
    return "";
  }
  const SeenReport<PoePortReport>& report = looks.bus->port(port);
  const std::string admin = report.quote(PoePortLine::ENABLE);
  const std::uint32_t wanted = *enabled ? 3 : 0;
  if (looks.bus->mode && ((*looks.bus->mode >> (2 * port)) & 3U) != wanted) {
    return admin + ", but the port's mode in register 0x12 is " +
           std::to_string((*looks.bus->mode >> (2 * port)) & 3U) + " instead of " + std::to_string(wanted);
  }
  const std::uint32_t bits = 0x11U << port;
  if (*enabled && looks.bus->detection && (*looks.bus->detection & bits) != bits) {
    return admin + ", but register 0x14 = " + text::hexadecimal(*looks.bus->detection) +
           " switches its detection off";
  }
  if (!*enabled && channelAlways(looks, port, ChannelLine::ENABLE, true)) {
    return admin + ", but " + lastChannel(looks, port).quote(ChannelLine::ENABLE);
  }
  const bool hasTemporary = report.values->temporaryLimit.value_or(0) != 0;
  return hasTemporary ? report.quote(PoePortLine::TEMPORARY_LIMIT) + ", which the service never sets" : "";
}

bool hasBadSignature(const CardLooks& looks, unsigned port) {
  const std::uint32_t bad[] = {DetectionStatus::SHORT, DetectionStatus::CAPACITANCE_TOO_HIGH,
                               DetectionStatus::RESISTANCE_TOO_LOW, DetectionStatus::RESISTANCE_TOO_HIGH};
  return std::any_of(std::begin(bad), std::end(bad), [&](std::uint32_t detection) {
    return lastChannel(looks, port).is(ChannelLine::DETECTION, detection);
  });
}

Evidence signatureIsBad(const CardLooks& looks, unsigned port) {
  return hasBadSignature(looks, port) ? lastChannel(looks, port).quote(ChannelLine::DETECTION) : "";
}

Evidence detectionFails(const CardLooks& looks, unsigned port) {
  const bool fails =
      lastChannel(looks, port).is(ChannelLine::DETECTION_FAILED, true) && !hasBadSignature(looks, port);
  return fails ? lastChannel(looks, port).quote(ChannelLine::DETECTION_FAILED) : "";
}

template <Denial reason>
Evidence isDenied(const CardLooks& looks, unsigned port) {
  if (isHeldByTheCard(looks, port) || denialOf(looks, port) != reason) {
    return "";
  }
  const PowerClass seen = *classOf(looks, port);
  return quoteGrown(looks, port, &PoePortStatus::powerDeniedCounter) + "; " + seen.word + " may draw " +
         std::to_string(seen.watts) + " W, the port's limit is " +
         looks.bus->port(port).text(PoePortLine::LIMIT) + " W, the other ports leave " +
         std::to_string(leftByOthers(looks, port)) + " W of bank " + looks.bus->info.text(InfoLine::BANK) +
         " with its " + looks.bus->info.text(InfoLine::BANK_LIMIT) + " W";
}

// A port that is set up again loses its device's load, which counts as an underload: no fault of the port.
template <Counter counter>
Evidence grows(const CardLooks& looks, unsigned port) {
  const bool isPortsOwn = !isHeldByTheCard(looks, port) && !isRestartedByLimits(looks, port);
  return isPortsOwn && hasGrown(looks, port, counter) ? quoteGrown(looks, port, counter) : "";
}

bool noPortDetects(const CardLooks& looks) {
  for (unsigned port = 0; port < POE_PORTS; port++) {
    if (!channelAlways(looks, port, ChannelLine::DETECTION, DetectionStatus::UNKNOWN)) {
      return false;
    }
  }
  return true;
}

// Without a cause above: power that goes, a device without power, or no detection where it should go on.
Evidence nothingExplains(const CardLooks& looks, unsigned port) {
  if (isHeldByTheCard(looks, port) || !isEnabled(looks, port).value_or(true)) {
    return "";
  }
  if (losesPower(looks, port)) {
    return lastChannel(looks, port).quote(ChannelLine::ENABLE) + " in some looks and not in others";
  }
  if (!channelAlways(looks, port, ChannelLine::ENABLE, false)) {
    return "";
  }
  const bool hasDevice = channelAlways(looks, port, ChannelLine::DETECTION, DetectionStatus::GOOD);
  // Without the bus, a port that does not detect cannot be told from one that is switched off.
  const bool isNotDetecting = channelAlways(looks, port, ChannelLine::DETECTION, DetectionStatus::UNKNOWN) &&
                              (looks.bus || noPortDetects(looks));
  return hasDevice || isNotDetecting
             ? lastChannel(looks, port).quote(ChannelLine::DETECTION) + ", " +
                   lastChannel(looks, port).quote(ChannelLine::ENABLE) + " in every look"
             : "";
}

constexpr PortRule PORT_RULES[] = {
    {"fet-error", "The chip reports a FET error.", fetFails,
     "Hardware of this port: use another port and replace the card. Other ports are not affected."},
    {"mosfet-hot", "The port's MOSFET is too hot.", mosfetIsHot,
     "Unplug the device, cool the card, and look for an overload. The port comes back by itself; other ports "
     "are not affected."},
    {"foreign-program", "Another program has changed the port's registers, not the service.", registersDiffer,
     "Find the program that uses /dev/i2c-0 ('fuser -v /dev/i2c-0') or the console's writeReg, and end it. "
     "Then let the main process send another setting of this port and the right one again; that costs this "
     "port its power for a moment. A restart of the service helps too, but costs all ports."},
    {"bad-signature", "What is plugged in has no valid signature.", signatureIsBad,
     "Check the cable, then the device: SHORT is a short circuit, the others are damaged cables or devices "
     "without Power over Ethernet. Other ports are not affected."},
    {"detection-failed", "The chip's detection of a device fails.", detectionFails,
     "Check the cable, then the device, with another port. Other ports are not affected."},
    {"denied-by-port-limit", "The port's limit is below what the device may draw, so it gets no power.",
     isDenied<Denial::PORT_LIMIT>,
     "Raise the limit of this port in the main process's configuration, or use a device of a lower class. "
     "This costs no port its power as long as all limits fit into the bank."},
    {"denied-by-bank", "The bank's limit leaves too little for the device, so it gets no power.",
     isDenied<Denial::BANK_LIMIT>,
     "Raise the limit of the active bank, give the port a better priority (which takes the power from "
     "another port), or unplug another device."},
    {"denied-device", "The device draws more than its class, so the chip refuses its power.",
     isDenied<Denial::DEVICE>,
     "Limits allow what the class may draw: the device is faulty or announces a wrong class. Try another "
     "device."},
    {"overload", "The device draws more than it may, and the chip switches it off.",
     grows<&PoePortStatus::overLoadCounter>,
     "Compare what the device needs with the port's limit and its class; try another device and cable."},
    {"short", "The powered port is short-circuited.", grows<&PoePortStatus::shortCounter>,
     "Unplug the cable, check it and the device. Other ports are not affected."},
    {"underload", "The device draws too little to keep its power and is switched off.",
     grows<&PoePortStatus::underLoadCounter>,
     "Check plug and cable for loose contacts; a device that draws less than about 0.5 W is disconnected."},
    {"class-error", "The classification of the device fails.", grows<&PoePortStatus::classErrorCounter>,
     "Check the cable, then the device, with another port. Other ports are not affected."},
};

} // namespace

std::vector<PortRule> portRules() {
  return {std::begin(PORT_RULES), std::end(PORT_RULES)};
}

const PortRule UNEXPLAINED = {
    "unexplained", "The port has no power or loses it, and what has been seen does not explain why.",
    nothingExplains,
    "If --no-bus was given, diagnose again without it. If it was not, 'poectl report' collects what support "
    "needs."};
