/* Error:
 * Success:-ex desiginit
 * Designated initialisers, .x = 1.
 * The option line above is written when this file compiles.
 */
struct point { int x, y; };
point origin = { .x = 1, .y = 2 };
