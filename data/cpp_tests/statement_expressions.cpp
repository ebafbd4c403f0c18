/* Error:
 * Success:-ex stmtexpr
 * Blocks used as expressions, ({ ... }).
 * The option line above is written when this file compiles.
 */
int doubled(int v) { return ({ int t = v; t * 2; }); }
