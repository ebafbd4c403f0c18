/* Error:
 * Success:-ex longlong
 * The integer type long long.
 * The option line above is written when this file compiles.
 */
long long ll_value = 1;
unsigned long long ll_unsigned = 2ULL;
