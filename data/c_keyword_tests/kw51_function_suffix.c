/*
Success:
Position: XXX is a function suffix without argument, on a declaration and a definition.
*/
void kw_f(void) XXX;
void kw_f(void) XXX { }
