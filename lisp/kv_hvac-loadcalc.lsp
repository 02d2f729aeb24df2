;;; The application layer's load calculation by the CLTD/SCL/CLF method: each room's cooling load
;;; for every calculated month and hour and its heating load, summed through the module's load
;;; store and written to tblLoadRoomCooling and tblLoadRoomHeating, then each zone's as the sum of
;;; its rooms. The method, its equations and what it leaves out are told in
;;; docs/load-calculation.md.

;; Conduction through glass: the published CLTD in K, hour by hour, turned into F differences.
(setq loadcalc-glassCLTD
      (mapcar '(lambda (k) (* 1.8 k)) '(1 0 -1 -1 -1 -1 -1 0 1 2 4 5 7 7 8 8 7 7 6 4 3 2 2 1))
      ;; The design day's outdoor temperature, as the percentage of the daily range below its maximum.
      loadcalc-rangePercent '(87 92 96 99 100 98 93 84 71 56 39 23 11 3 0 3 10 21 34 47 58 68 76 82)
      loadcalc-hours '(0 1 2 3 4 5 6 7 8 9 10 11 12 13 14 15 16 17 18 19 20 21 22 23))

;; The columns of a cooling result that the room store holds, written as they are.
(setq loadcalc-coolingColumns
      '("dRoof" "dRoofPlenum" "dFloor" "dWall" "dWallPlenum" "dDoor" "dGlass" "dWallPartition"
        "dWallPlenumPartition" "dDoorPartition" "dGlassPartition" "dInfiltrationSensible"
        "dInfiltrationLatent" "dVentilationSensible" "dVentilationLatent" "dVentilation62Sensible"
        "dVentilation62Latent" "iCoolingCFM" "iOSACFM" "iOSA62CFM" "dLights" "dLightsPlenum"
        "dEquipmentLatent" "dEquipmentSensible" "dPeopleLatent" "dPeopleSensible" "dRoomTemperature"
        "dRoomHumidity" "dRoomTotalSensible" "dRoomTotalLatent" "dRoomTotal" "dPlenumTotal"
        "dSystemTotalSensible" "dSystemTotalLatent" "dSystemTotal" "dSystem62TotalSensible"
        "dSystem62TotalLatent" "dSystem62Total" "dArea" "dPeople" "dVentilationLatentPeople"
        "dVentilationSensiblePeople" "dPeopleRatio" "dVentilationIMCSensible" "dVentilationIMCLatent"
        "iOSAIMCCFM" "iOSAPeopleCFM" "dSystemIMCTotalSensible" "dSystemIMCTotalLatent" "dSystemIMCTotal")
      loadcalc-heatingColumns
      '("dRoof" "dWall" "dDoor" "dGlass" "dWallPartition" "dFloor" "dInfiltration" "dVentilation"
        "dVentilation62" "dVentilationIMC" "iHeatingCFM" "iOSACFM" "iOSA62CFM" "iOSAIMCCFM" "dRoomTotal"
        "dSystemTotal" "dSystem62Total" "dSystemIMCTotal" "dArea" "dPeople" "dPeopleRatio"))

;; Sensible heat of air per cfm and F, latent heat per cfm and grain of moisture (sea level), and
;; Btu/h per watt.
(setq loadcalc-airSensible 1.10 loadcalc-airLatent 0.68 loadcalc-btuPerWatt 3.412)

(defun loadcalc-get (name alist) (cdr (assoc name alist)))

;; The calculation's conditions from the design ALIST: what the CLTD and SCL curves are corrected by.
(defun loadcalc-conditions (design / ti tmax range)
  (setq ti (loadcalc-get "dIndoorCooling" design)
        tmax (loadcalc-get "dOutdoorCooling" design)
        range (loadcalc-get "dDailyRange" design))
  (append design
          (list (cons "correction" (+ (- 78.0 ti) (- (- tmax (/ range 2.0)) 85.0)))
                (cons "outdoor" (mapcar '(lambda (p) (- tmax (/ (* range p) 100.0))) loadcalc-rangePercent)))))

;; The calculated months of the project (tblMonth.bDoCalculation).
(defun loadcalc-months (/ file)
  (if (setq file (projectdb-currentFile))
    (kvdb-query file "SELECT iMonth FROM tblMonth WHERE bDoCalculation = -1 ORDER BY iMonth" "iMonth")))

;; ---- Cooling ---------------------------------------------------------------------------------

;; Pours SURFACE's 24 hourly loads of month M into the stores under room IX: walls, doors, glass
;; and partitions into the wall store, roofs and floors straight into the room store.
(defun loadcalc-storeSurface (ix m surface c / kind orient number ua lat corr curve solar field q)
  (setq kind (car surface) orient (cadr surface) number (caddr surface)
        ua (* (nth 3 surface) (nth 4 surface))
        lat (loadcalc-get "iLatitude" c) corr (loadcalc-get "correction" c))
  (cond
    ((member kind '("WALL" "DOOR"))
     (setq curve (mapcar '(lambda (p) (* ua (+ (cdr p) corr))) (kv_hvac-getWallCLTDDxf lat number orient m))
           field (if (= kind "WALL") "dWall" "dDoor")))
    ((= kind "ROOF")
     (setq curve (mapcar '(lambda (p) (* ua (+ (cdr p) corr))) (kv_hvac-getRoofCLTDDxf lat number m))
           field "dRoof"))
    ((= kind "GLASS")
     (setq solar (kv_hvac-getGlassCLTDDxf lat (nth 6 surface) orient m)
           curve (mapcar '(lambda (g p) (+ (* ua (+ g corr)) (* (nth 3 surface) (nth 5 surface) (cdr p))))
                         loadcalc-glassCLTD solar)
           field "dGlass"))
    (T
     (setq q (* ua (nth 7 surface))
           curve (mapcar '(lambda (h) q) loadcalc-hours)
           field (if (= kind "FLOOR") "dFloor" "dWallPartition"))))
  (mapcar '(lambda (h q)
             (if (member field '("dRoof" "dFloor"))
               (kv_hvac-loads-storeRoomData ix m h field q)
               (kv_hvac-loads-storeWallData ix m h field q)))
          loadcalc-hours curve))

;; The internal gains, infiltration, ventilation and conditions of hour H as name and value pairs.
(defun loadcalc-gains (h use c / occupied clf people lights equip inf osa dt dgr)
  (setq occupied (and (> (1+ h) (loadcalc-get "iOccupiedFrom" use)) (<= (1+ h) (loadcalc-get "iOccupiedTo" use)))
        clf (if occupied (loadcalc-get "dCLF" use) 0.0)
        people (if occupied (loadcalc-get "dPeople" use) 0.0)
        inf (loadcalc-get "dInfiltration" use)
        osa (loadcalc-get "dOutdoorAir" use)
        dt (- (nth h (loadcalc-get "outdoor" c)) (loadcalc-get "dIndoorCooling" c))
        dgr (- (loadcalc-get "dOutdoorGrains" c) (loadcalc-get "dIndoorGrains" c)))
  (list "dPeopleSensible" (* people (loadcalc-get "dPeopleSensible" use) clf)
        "dPeopleLatent" (* people (loadcalc-get "dPeopleLatent" use))
        "dLights" (* (loadcalc-get "dLights" use) loadcalc-btuPerWatt (loadcalc-get "dLightsFactor" use) clf)
        "dEquipmentSensible" (* (loadcalc-get "dEquipment" use) loadcalc-btuPerWatt clf)
        "dEquipmentLatent" (if occupied (loadcalc-get "dEquipmentLatent" use) 0.0)
        "dInfiltrationSensible" (* loadcalc-airSensible inf dt)
        "dInfiltrationLatent" (* loadcalc-airLatent inf dgr)
        "dVentilationSensible" (* loadcalc-airSensible osa dt) "dVentilationLatent" (* loadcalc-airLatent osa dgr)
        "dVentilation62Sensible" (* loadcalc-airSensible osa dt) "dVentilation62Latent" (* loadcalc-airLatent osa dgr)
        "dVentilationIMCSensible" (* loadcalc-airSensible osa dt) "dVentilationIMCLatent" (* loadcalc-airLatent osa dgr)
        "iOSACFM" (fix (+ osa 0.5)) "iOSA62CFM" (fix (+ osa 0.5)) "iOSAIMCCFM" (fix (+ osa 0.5))
        "dRoomTemperature" (loadcalc-get "dIndoorCooling" c) "dRoomHumidity" (loadcalc-get "dIndoorHumidity" c)
        "dArea" (loadcalc-get "dArea" use) "dPeople" (loadcalc-get "dPeople" use)
        "dPeopleRatio" (loadcalc-ratio (loadcalc-get "dPeople" use) (loadcalc-get "dArea" use))))

;; People per 1000 sf.
(defun loadcalc-ratio (people area) (if (> area 0) (/ (* 1000.0 people) area) 0.0))

;; The room and system totals of the stored record R, and the supply air that takes the room's
;; sensible load at the design supply temperature, as name and value pairs.
(defun loadcalc-totals (r c / sens lat total)
  (setq sens (apply '+ (mapcar '(lambda (n) (loadcalc-get n r))
                               '("dRoof" "dFloor" "dWall" "dDoor" "dGlass" "dWallPartition" "dDoorPartition"
                                 "dGlassPartition" "dLights" "dEquipmentSensible" "dPeopleSensible"
                                 "dInfiltrationSensible")))
        lat (+ (loadcalc-get "dEquipmentLatent" r) (loadcalc-get "dPeopleLatent" r) (loadcalc-get "dInfiltrationLatent" r)))
  (append
    (list "dRoomTotalSensible" sens "dRoomTotalLatent" lat "dRoomTotal" (+ sens lat)
          "iCoolingCFM" (loadcalc-supplyAir sens (- (loadcalc-get "dIndoorCooling" c) (loadcalc-get "dSupplyCooling" c))))
    (loadcalc-system "" sens lat r) (loadcalc-system "62" sens lat r) (loadcalc-system "IMC" sens lat r)))

;; The system totals of ventilation method M ("", "62" or "IMC"): the room's load and that
;; method's outdoor air.
(defun loadcalc-system (m sens lat r / vs vl)
  (setq vs (loadcalc-get (strcat "dVentilation" m "Sensible") r)
        vl (loadcalc-get (strcat "dVentilation" m "Latent") r))
  (list (strcat "dSystem" m "TotalSensible") (+ sens vs) (strcat "dSystem" m "TotalLatent") (+ lat vl)
        (strcat "dSystem" m "Total") (+ sens vs lat vl)))

;; Whole cfm of air that carries LOAD (Btu/h) at a temperature difference DT; 0 for no load.
(defun loadcalc-supplyAir (load dt)
  (if (and (> load 0) (> dt 0)) (fix (+ 0.5 (/ load (* loadcalc-airSensible dt)))) 0))

;; (name value name value ...) of an association list.
(defun loadcalc-flat (alist) (apply 'append (mapcar '(lambda (p) (list (car p) (cdr p))) alist)))

;; Hour H of month M of room IX: the wall store's sums and the gains into the room store, then the
;; totals; answers the room store's record.
(defun loadcalc-hour (ix m h use c)
  (apply 'kv_hvac-loads-storeRoomData
         (append (list ix m h) (loadcalc-flat (kv_hvac-loads-getWallData ix m h)) (loadcalc-gains h use c)))
  (apply 'kv_hvac-loads-storeRoomData (append (list ix m h) (loadcalc-totals (kv_hvac-loads-getRoomData ix m h) c)))
  (kv_hvac-loads-getRoomData ix m h))

;; A value as SQL text.
(defun loadcalc-sql (x) (if (eq (type x) 'INT) (itoa x) (rtos x 2 4)))

;; The INSERT of one result row: KEYS (column names and values) then the named COLUMNS of record R.
(defun loadcalc-insert (table keys columns r)
  (strcat "INSERT INTO " table " (" (roomdata-join (append (mapcar 'car keys) columns) ", ") ") VALUES ("
          (roomdata-join (mapcar '(lambda (v) (loadcalc-sql v))
                                 (append (mapcar 'cdr keys) (mapcar '(lambda (n) (loadcalc-get n r)) columns)))
                         ", ")
          "); "))

;; ---- Heating ---------------------------------------------------------------------------------

;; Room IX's heating record as an association list: conduction at the design difference, the
;; partitions and floors at theirs, infiltration and ventilation; no credit for gains.
(defun loadcalc-heating (use surfaces c / dt sums field room osa inf vent)
  (setq dt (- (loadcalc-get "dIndoorHeating" c) (loadcalc-get "dOutdoorHeating" c))
        sums (mapcar '(lambda (n) (cons n 0.0)) '("dRoof" "dWall" "dDoor" "dGlass" "dWallPartition" "dFloor")))
  (foreach s surfaces
    (setq field (cdr (assoc (car s) '(("WALL" . "dWall") ("DOOR" . "dDoor") ("GLASS" . "dGlass") ("ROOF" . "dRoof")
                                      ("PARTITION" . "dWallPartition") ("FLOOR" . "dFloor"))))
          sums (subst (cons field (+ (loadcalc-get field sums)
                                     (* (nth 3 s) (nth 4 s) (if (member (car s) '("PARTITION" "FLOOR")) (nth 8 s) dt))))
                      (assoc field sums) sums)))
  (setq inf (* loadcalc-airSensible (loadcalc-get "dInfiltration" use) dt)
        osa (loadcalc-get "dOutdoorAir" use)
        vent (* loadcalc-airSensible osa dt)
        room (+ inf (apply '+ (mapcar 'cdr sums))))
  (append sums
          (list (cons "dInfiltration" inf) (cons "dVentilation" vent) (cons "dVentilation62" vent)
                (cons "dVentilationIMC" vent) (cons "dRoomTotal" room) (cons "dSystemTotal" (+ room vent))
                (cons "dSystem62Total" (+ room vent)) (cons "dSystemIMCTotal" (+ room vent))
                (cons "iHeatingCFM" (loadcalc-supplyAir room (- (loadcalc-get "dSupplyHeating" c) (loadcalc-get "dIndoorHeating" c))))
                (cons "iOSACFM" (fix (+ osa 0.5))) (cons "iOSA62CFM" (fix (+ osa 0.5))) (cons "iOSAIMCCFM" (fix (+ osa 0.5)))
                (cons "dArea" (loadcalc-get "dArea" use)) (cons "dPeople" (loadcalc-get "dPeople" use))
                (cons "dPeopleRatio" (loadcalc-ratio (loadcalc-get "dPeople" use) (loadcalc-get "dArea" use))))))

;; ---- Rooms and zones -------------------------------------------------------------------------

;; Calculates room IX for MONTHS under conditions C; its stored results are replaced at the next
;; loadcalc-flush. Answers the peak cooling (total month hour), or nil when the room has no data.
(defun loadcalc-room (ix months c / data use surfaces sql r peak where)
  (kv_hvac-loads-resetRoomData)
  (kv_hvac-loads-resetWallData)
  (if (setq data (roomdata-room ix))
    (progn
      (setq use (car data) surfaces (cadr data)
            where (strcat " WHERE ixRoomL = " (itoa ix) "; ")
            sql (list (strcat "DELETE FROM tblLoadRoomCooling" where "DELETE FROM tblLoadRoomHeating" where)))
      (foreach m months
        (foreach s surfaces (loadcalc-storeSurface ix m s c))
        (foreach h loadcalc-hours
          (setq r (loadcalc-hour ix m h use c)
                sql (cons (loadcalc-insert "tblLoadRoomCooling" (list (cons "ixRoomL" ix) (cons "iMonth" m) (cons "iHour" h))
                                           loadcalc-coolingColumns r)
                          sql))
          (if (or (null peak) (> (loadcalc-get "dRoomTotal" r) (car peak)))
            (setq peak (list (loadcalc-get "dRoomTotal" r) m h)))))
      (setq sql (cons (loadcalc-insert "tblLoadRoomHeating" (list (cons "ixRoomL" ix)) loadcalc-heatingColumns
                                       (loadcalc-heating use surfaces c))
                      sql))
      (setq loadcalc-pending (cons (apply 'strcat (reverse sql)) loadcalc-pending))
      (if peak peak (list 0.0 0 0)))))

;; Writes the results of the rooms calculated since the last write, in one transaction: every
;; transaction waits for the disk, so a long calculation writes rooms in batches.
(setq loadcalc-pending nil)
(defun loadcalc-flush ()
  (if loadcalc-pending
    (kvdb-execute (projectdb-currentFile) (apply 'strcat (reverse loadcalc-pending))))
  (setq loadcalc-pending nil))

;; The zones of the zone tree as ((zone name (room ...)) ...), rooms in ascending order: every room
;; anywhere below a zone item counts for that zone.
(defun loadcalc-zones () (loadcalc-zonesOf (tree-hvac-get "zone")))

(defun loadcalc-zonesOf (tree / out x kids)
  (while tree
    (setq x (car tree) tree (cdr tree))
    (cond ((and (tree-hvac-item-p x) (> (cdr x) 0))
           (setq kids (if (and (car tree) (listp (car tree)) (not (tree-hvac-item-p (car tree)))) (car tree)))
           (setq out (cons (list (cdr x) (car x) (vl-sort (mapcar '- (vl-remove-if-not 'minusp (tree-hvac-allData kids))) '<)) out)))
          ((and x (listp x) (not (tree-hvac-item-p x)))
           (setq out (append (reverse (loadcalc-zonesOf x)) out)))))
  (reverse out))

;; The SQL aggregates of COLUMNS over a zone's room rows: room conditions averaged, the people
;; ratio from the sums, everything else summed.
(defun loadcalc-aggregates (columns)
  (roomdata-join
    (mapcar '(lambda (n)
               (cond ((member n '("dRoomTemperature" "dRoomHumidity")) (strcat "avg(" n ")"))
                     ((= n "dPeopleRatio") "CASE WHEN sum(dArea) > 0 THEN 1000.0 * sum(dPeople) / sum(dArea) ELSE 0 END")
                     (T (strcat "sum(" n ")"))))
            columns)
    ", "))

;; Replaces zone Z's results by the sums of its ROOMS' stored results, hour by hour: the zone's peak
;; is that of the block of rooms, not the sum of their peaks.
(defun loadcalc-zone (z rooms / in where)
  (setq in (strcat " WHERE ixRoomL IN (" (roomdata-join (mapcar 'itoa rooms) ", ") ")")
        where (strcat " WHERE ixZone = " (itoa z) "; "))
  (kvdb-execute (projectdb-currentFile)
    (strcat "DELETE FROM tblLoadRoomCooling" where "DELETE FROM tblLoadRoomHeating" where
            (if rooms
              (strcat "INSERT INTO tblLoadRoomCooling (ixZone, iMonth, iHour, " (roomdata-join loadcalc-coolingColumns ", ")
                      ") SELECT " (itoa z) ", iMonth, iHour, " (loadcalc-aggregates loadcalc-coolingColumns)
                      " FROM tblLoadRoomCooling" in " GROUP BY iMonth, iHour; "
                      "INSERT INTO tblLoadRoomHeating (ixZone, " (roomdata-join loadcalc-heatingColumns ", ")
                      ") SELECT " (itoa z) ", " (loadcalc-aggregates loadcalc-heatingColumns)
                      " FROM tblLoadRoomHeating" in " HAVING count(*) > 0")
              "")))
  z)

;; ---- What the designer and the other parts call ------------------------------------------------

;; Calculates room IX (its loads for every calculated month and hour, and heating) and the zones
;; that hold it. Answers the peak cooling (Btu/h month hour), or nil when the room has no data.
(defun loads-hvac-calcRoom (ix / peak)
  (setq loadcalc-pending nil
        peak (loadcalc-room ix (loadcalc-months) (loadcalc-conditions (roomdata-design))))
  (loadcalc-flush)
  (if peak
    (foreach zone (loadcalc-zones)
      (if (member ix (caddr zone)) (loadcalc-zone (car zone) (caddr zone)))))
  peak)

;; Calculates zone Z: its rooms, then its sums.
(defun loads-hvac-calcZone (z / zone c months)
  (setq loadcalc-pending nil
        c (loadcalc-conditions (roomdata-design)) months (loadcalc-months))
  (if (setq zone (assoc z (loadcalc-zones)))
    (progn
      (foreach ix (caddr zone) (loadcalc-room ix months c))
      (loadcalc-flush)
      (loadcalc-zone z (caddr zone)))))

;; Calculates every room of the project and then every zone, printing progress when there are
;; many rooms. Answers the number of rooms calculated.
(defun loads-hvac-calcAll (/ file rooms c months done skipped n)
  (setq loadcalc-pending nil
        c (loadcalc-conditions (roomdata-design)) months (loadcalc-months) done 0 skipped 0 n 0)
  (if (setq file (projectdb-currentFile))
    (setq rooms (kvdb-query file "SELECT ixRoomL FROM tblRoomL ORDER BY ixRoomL" "ixRoomL")))
  (foreach ix rooms
    (if (loadcalc-room ix months c) (setq done (1+ done)) (setq skipped (1+ skipped)))
    (setq n (1+ n))
    (if (zerop (rem n 25)) (loadcalc-flush))
    (if (and (> (length rooms) 20) (zerop (rem n 50)))
      (princ (strcat "\n  " (itoa n) " of " (itoa (length rooms)) " rooms calculated..."))))
  (loadcalc-flush)
  (if file (foreach zone (loadcalc-zones) (loadcalc-zone (car zone) (caddr zone))))
  (princ (strcat "\nLoads calculated for " (itoa done) " rooms and " (itoa (if file (length (loadcalc-zones)) 0)) " zones"
                 (if (> skipped 0) (strcat "; " (itoa skipped) " rooms without construction skipped (KV-ROOMDATA)") "")
                 "."))
  done)

;; The supply air room IX needs: the largest hourly cooling supply air of its stored results, in
;; cfm; nil when it has none.
(defun loads-hvac-roomAir (ix / file)
  (if (setq file (projectdb-currentFile))
    (car (kvdb-query file (strcat "SELECT max(iCoolingCFM) AS c FROM tblLoadRoomCooling WHERE ixRoomL = " (itoa ix)) "c"))))

;; Command KV-CALCLOADS: the loads of every room and zone.
(defun c:kv-calcLoads ()
  (cond ((null (projectdb-currentFile)) (princ "\nNo project database: nothing to calculate."))
        ((null (loadcalc-months)) (princ "\nNo month is marked for calculation (Options)."))
        (T (loads-hvac-calcAll)))
  (princ))
