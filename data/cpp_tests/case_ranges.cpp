/* Error:
 * Success:-ex caserange
 * Case labels with ranges, case 1 ... 3.
 * The option line above is written when this file compiles.
 */
int in_range(int c) {
  switch (c) {
    case 1 ... 3: return 1;
  }
  return 0;
}
