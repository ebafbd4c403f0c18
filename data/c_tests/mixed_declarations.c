/* Error:
 * Success:-ex mixeddecl
 * Declarations after statements in a block.
 * The option line above is written when this file compiles.
 */
int mixed(int a) {
  a++;
  int b = a * 2;
  return b;
}
