/* Error:
 * Success:-ex anonstruct
 * Anonymous struct members (anonymous unions are standard).
 * The option line above is written when this file compiles.
 */
struct outer {
  int tag;
  struct { int x, y; };
};
int read_outer(outer& o) { return o.x + o.y; }
