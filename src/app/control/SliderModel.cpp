#include "app/control/SliderModel.h"

#include <algorithm>
#include <cmath>

namespace {
constexpr float kOneOver127 = 0.007874016f;
constexpr int kKeySteps = 20;    // a bound key moves a twentieth of the range
constexpr int kWheelSteps = 50;  // a wheel notch a fiftieth: fine enough to trim an EQ
}  // namespace

void SliderModel::SetRange(int min, int max) {
  min_ = min;
  max_ = max;
  StoreValue(value_);
}

void SliderModel::SetGeometry(int width, int height, int cursorWidth, int cursorHeight) {
  width_ = width, height_ = height;
  cursorWidth_ = cursorWidth, cursorHeight_ = cursorHeight;
  leftDrag_ = rightDrag_ = false;
}

int SliderModel::Travel() const {
  return Vertical() ? height_ - cursorHeight_ : width_ - cursorWidth_;
}

int SliderModel::CursorPosition() const {
  if (Span() == 0 || Travel() <= 0) return 0;
  double fraction = static_cast<double>(value_ - min_) / Span();
  if (Vertical()) fraction = 1.0 - fraction;
  return static_cast<int>(std::lround(fraction * Travel()));
}

int SliderModel::ValueOfController(int value) const {
  if (Bipolar() && (value == 63 || value == 64)) return 0;
  return min_ + static_cast<int>(std::lround(static_cast<float>(Span()) * static_cast<float>(value) * kOneOver127));
}

void SliderModel::StoreValue(int value) {
  value_ = min_ <= max_ ? std::clamp(value, min_, max_) : value_;
  angle_ = Span() != 0 ? static_cast<double>(value_ - min_) * rotation_ / Span() : 0.0;
  Changed();
}

void SliderModel::Report(int value, bool final) {
  int reported = reversed_ ? min_ + max_ - value : value;
  Call(kPressSlot, reported);
  if (final) Call(kReleaseSlot, reported);
}

void SliderModel::SetValue(int value, bool final) {
  if (reversed_) value = min_ + max_ - value;
  if (!knob_ && Dragging()) return;  // the hand wins over the engine
  if (value < min_ || value > max_) return;
  StoreValue(value);
  Report(value_, final);
}

void SliderModel::ShowValue(int value) {
  if (reversed_) value = min_ + max_ - value;
  if (!knob_ && Dragging()) return;
  StoreValue(value);
}

void SliderModel::FaderPress(int along) {
  int cursor = Vertical() ? cursorHeight_ : cursorWidth_;
  int at = CursorPosition();
  grabOffset_ = along >= at && along < at + cursor ? along - at : cursor / 2;
  FaderMove(along);
}

void SliderModel::FaderMove(int along) {
  int travel = Travel();
  int pos = std::clamp(along - grabOffset_, 0, std::max(travel, 0));
  int offset = travel > 0 ? static_cast<int>(std::lround(static_cast<double>(Span()) * pos / travel)) : 0;
  StoreValue(Vertical() ? max_ - offset : min_ + offset);
  Report(value_, true);
}

void SliderModel::KnobMove(int y) {
  int delta = startY_ - y;
  if (!continuous_) {
    angle_ = std::clamp(startAngle_ + 2.0 * delta, 0.0, static_cast<double>(rotation_));
  } else {
    angle_ = startAngle_ + delta;
    if (angle_ < 0) angle_ += rotation_;
    if (angle_ > rotation_) angle_ -= rotation_;
    startAngle_ = angle_;
    startY_ = y;
  }
  double angle = angle_;
  StoreValue(min_ + static_cast<int>(std::lround(Span() * angle_ / rotation_)));
  angle_ = angle;  // keep the fine angle between value steps
  Report(value_, true);
}

// A button mapped on a slider: a bipolar one runs 0, max, min, 0; a unipolar one toggles ends.
void SliderModel::ButtonCycle() {
  int fromMin = std::abs(value_ - min_), fromZero = std::abs(value_), fromMax = std::abs(max_ - value_);
  int target;
  if (Bipolar()) {
    if (fromMin < fromMax) target = fromMin < fromZero ? 0 : min_;
    else target = fromZero < fromMax ? max_ : min_;
  } else {
    target = fromMin < fromMax ? max_ : min_;
  }
  StoreValue(target);
  Call(kReleaseSlot, reversed_ ? min_ + max_ - value_ : value_);
}

void SliderModel::Step(int direction, int size) {
  int step = std::max(1, static_cast<int>(std::lround(static_cast<double>(Span()) / size)));
  StoreValue(value_ + direction * step);
  Report(value_, true);
}

void SliderModel::CaptureLost() {
  if (!leftDrag_) return;
  leftDrag_ = false;
  Call(kEndDragSlot, value_);
}

void SliderModel::HandleEvent(const ControlEvent& event) {
  int along = Vertical() ? event.y : event.x;
  switch (event.kind) {
    case kEventMouseDown:
      if (event.button == 1) {
        leftDrag_ = true;
        startY_ = event.y;
        startAngle_ = angle_;
        if (!knob_) FaderPress(along);
      } else if (event.button == 3 && knob_) {
        if (!leftDrag_ && min_ <= 0 && max_ >= 0) {
          StoreValue(0);
          Report(0, true);
        }
      } else if (event.button == 3) {
        savedValue_ = value_;
        rightDrag_ = true;
        FaderPress(along);
      }
      break;
    case kEventMotion:
      if (knob_ && leftDrag_) KnobMove(event.y);
      else if (!knob_ && Dragging()) FaderMove(along);
      break;
    case kEventMouseUp:
      if (event.button == 1 && leftDrag_) {
        leftDrag_ = false;
        Call(kEndDragSlot, value_);
      } else if (event.button == 3 && rightDrag_) {
        rightDrag_ = false;
        StoreValue(savedValue_);
        Report(value_, true);
      }
      break;
    case kEventLeave:
      if (rightDrag_) {
        rightDrag_ = false;
        StoreValue(savedValue_);
        Report(value_, true);
      }
      break;
    case kEventWheel:
      if (event.status != 0) Step(event.status > 0 ? 1 : -1, kWheelSteps);
      break;
    case kEventMessage:
      if (event.status == 0xB0 || event.status == 0xE0) {
        if (!knob_ && Dragging()) break;
        StoreValue(ValueOfController(event.value));
        Report(value_, true);
      } else if (event.status == 0x90 && event.value > 0) {
        ButtonCycle();
      }
      break;
    case kEventBoundKey:
      Step(event.keyIndex == 0 ? -1 : 1, kKeySteps);
      break;
    default:
      break;
  }
}
