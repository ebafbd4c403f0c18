/*
Success:kiv_ignore_paren
Position: XXX is a function suffix with a parenthesised argument, such as an interrupt number.
*/
void kw_isr(void) XXX(1) { }
