/** @file
  The Microsoft x64 target marks every object that uses floating point with a
  reference to _fltused, which the C runtime would define. The driver's
  capacity conversions use double, so the firmware build defines it.
**/
extern "C" {
int  _fltused = 0;
}
