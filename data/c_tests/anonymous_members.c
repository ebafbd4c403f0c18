/* Error:
 * Success:-ex anonmember
 * Anonymous struct and union members.
 * The option line above is written when this file compiles.
 */
struct outer {
  int tag;
  union { int i; float f; };
  struct { int x, y; };
};
int read_outer(struct outer *o) { return o->i + o->x + o->y; }
