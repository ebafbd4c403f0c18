/* Error:
 * Success:-ex varmacro
 * Macros with a variable argument list, __VA_ARGS__.
 * The option line above is written when this file compiles.
 */
int sum3(int a, int b, int c);
#define SUM(...) sum3(__VA_ARGS__)
int use_sum() { return SUM(1, 2, 3); }
