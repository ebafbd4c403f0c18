/* Error:
 * Success:-ex dollarid
 * The character $ inside identifiers.
 * The option line above is written when this file compiles.
 */
int dollar$value;
