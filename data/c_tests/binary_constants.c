/* Error:
 * Success:-ex binconst
 * Integer constants written in binary, 0b1010.
 * The option line above is written when this file compiles.
 */
int binary_value = 0b1010;
