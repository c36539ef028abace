// What the survey asks the network, what it makes of a device's answers, and whether the device is
// listed.
//
// Nothing here sends or waits, so the window, which asks one device after the other, and the
// companion for terminals, which asks many at once, list the same devices under the same names. The
// functions keep no state and may be called from any thread; an object belongs to one thread at a
// time. Nothing throws.
#pragma once

#include <cstddef>

#include "snmp/simple_pdu.h"
#include "ui/survey/device_survey.h"

// The answers to the broadcast have ended when none came for so many seconds.
constexpr unsigned int kGatheringSeconds = 1;

// So many of the answers are considered.
constexpr int kMaxAnswers = 256;

// The most bytes of a device's text that are taken. A text that fills them has its zero behind
// them, so a buffer has one byte more.
constexpr int kTextCapacity = 256;
constexpr int kTextSize = kTextCapacity + 1;

// Makes the question that goes to everybody: GET-NEXT of an object that has a successor on the
// maker's devices only. `request` is a zeroed record with one slot.
void FillDiscoveryRequest(snmp_simple_pdu* request);

// The questions that a device is asked, in their order.
enum DeviceQuestion : int { kAskModel, kAskVendor, kAskName, kDeviceQuestions };

// One device being asked. A device is listed when it has given a text, if an empty one, to every
// question; the first that it does not answer ends the interview.
class DeviceInterview {
 public:
  // The question that comes next, kDeviceQuestions when it is over.
  int Next() const { return m_bLeftOut ? kDeviceQuestions : m_iNext; }
  // The object to ask for, as dotted-decimal text.
  static const char* Object(int question);

  // The buffer for the next question's text, of kTextSize bytes, and that it holds one now:
  // terminated, and without what is not visible at its end, as snmp2c_str leaves it.
  char* Buffer() { return m_szTexts[m_iNext]; }
  void TakeText() { ++m_iNext; }
  // The bytes of a value as they came. Of more than kTextCapacity none are taken, as if there had
  // been no answer.
  void TakeValue(const void* value, size_t length);
  // There was no answer that counts.
  void TakeFailure() { m_bLeftOut = true; }

  bool IsListed() const { return !m_bLeftOut && m_iNext == kDeviceQuestions; }

  // What the device said to a question; made fit for the list by the functions below.
  const char* Text(int question) const { return m_szTexts[question]; }

  // Removes every underscore of the model together with the byte behind it: T55_E becomes T55. An
  // underscore at the end takes the byte before it along: ABC_ becomes AB.
  void RemoveModelSuffixes();
  // Turns the vendor's text into the name that is shown, vendor, blank, model, cut to 255 bytes.
  void JoinVendorAndModel();
  // The row of the list, behind both. `address` is dotted-decimal text.
  void FillRow(const char* address, MACHINEINFO* row) const;

 private:
  char m_szTexts[kDeviceQuestions][kTextSize] = {};
  int m_iNext = 0;
  bool m_bLeftOut = false;
};
