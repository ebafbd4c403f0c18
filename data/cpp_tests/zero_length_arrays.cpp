/* Error:
 * Success:-ex zeroarray
 * Arrays of length zero at the end of a class.
 * The option line above is written when this file compiles.
 */
struct message { int length; char data[0]; };
int message_size = sizeof(message);
