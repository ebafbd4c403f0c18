/* Error:
 * Success:-ex vla
 * Arrays whose length is known only at run time.
 * The option line above is written when this file compiles.
 */
int vla_size(int n) {
  char buffer[n];
  return (int)sizeof buffer;
}
