/* Error:
 * Success:-ex desiginit
 * Designated initialisers, .x = 1 and [2] = 1.
 * The option line above is written when this file compiles.
 */
struct point { int x, y; };
struct point origin = { .y = 2, .x = 1 };
int table[3] = { [2] = 1 };
