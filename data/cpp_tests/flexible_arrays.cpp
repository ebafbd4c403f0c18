/* Error:
 * Success:-ex flexarray
 * Flexible array members, char data[].
 * The option line above is written when this file compiles.
 */
struct buffer { int count; char data[]; };
int buffer_size = sizeof(buffer);
