/* Error:
 * Success:-ex bool
 * The boolean type _Bool.
 * The option line above is written when this file compiles.
 */
_Bool flag_value = 1;
