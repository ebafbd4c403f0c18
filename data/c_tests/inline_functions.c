/* Error:
 * Success:-ex inline
 * The function specifier inline.
 * The option line above is written when this file compiles.
 */
static inline int twice(int v) { return v * 2; }
int use_twice(void) { return twice(2); }
