/*
Success:kiv_ignore_paren
Position: XXX is an address placement with a parenthesised argument between type and name.
*/
unsigned char XXX(0x30) kw_v;
