#pragma once
// The arithmetic of the turning record (`deck_wheel`) and the beat lamps (`deck_beatpos`),
// apart from their drawing so it is tested without a display.
//
// Angles are degrees, 0 to 360, growing as the record turns forward (clockwise on screen). The
// rate 33 stands for 33 1/3 revolutions a minute, so one second of music is 200 degrees.

// The angle of the pointer at (x, y) in a control of the given size, about its centre.
double WheelPointerAngle(int x, int y, int width, int height);

// Samples of music a hand movement from `lastAngle` to `angle` moves the record by: positive
// forward. The step is folded into -180..180, so crossing the 0/360 line is a small move.
int WheelDragSamples(double lastAngle, double angle, int rpm);

// Where the picture stands after `seconds` of music (negative seconds turn it backward).
double WheelAngleAt(double seconds, int rpm);

// The x of lamp `index` in a row of lamps `elementWidth` wide from `firstOffset`; -1 when there
// is no lamp to light (index below 0, or the lamp would start outside the control).
int BeatLampX(int index, int elementWidth, int firstOffset, int controlWidth);
